# The Debian package: everything that is installed, under /usr.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "The vessa developers")
set(CPACK_PACKAGE_CONTACT "The vessa developers <vessa@vessa.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# What only a package has is put beside the installed files, before they are packed.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/AddDebianFiles.cmake)
set(CPACK_VESSA_CHANGELOG ${PROJECT_SOURCE_DIR}/packaging/changelog)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "image-processing nodes for the shell and for C++ programs")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A node takes 2d or 3d images, has a few parameters, and gives new images.
The program runs nodes on PNG, TIFF and NumPy files. They cut, pad, flip,
rotate, scale and resample images, map them to polar coordinates and back,
join, split and restack them, and turn label images into values, colours,
sizes or features.
.
The host library, its headers and what CMake and pkg-config need to find it
are here, too, for programs that run nodes themselves.")
# What the binaries need is looked up in them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cmake, g++, pkg-config")
# The loader's cache is told of the library, and packages that need the library of this one.
file(CONFIGURE OUTPUT packaging/triggers CONTENT "activate-noawait ldconfig\n")
file(CONFIGURE OUTPUT packaging/shlibs CONTENT
  "libvessa ${PROJECT_VERSION_MAJOR} vessa (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/packaging/triggers ${PROJECT_BINARY_DIR}/packaging/shlibs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
