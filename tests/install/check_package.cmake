# Packs the build folder BUILD, whose sources are SOURCE, as a Debian package of this VERSION, unpacks that to a folder
# and uses what is there.

cmake_minimum_required(VERSION 3.25)

set(work ${BUILD}/tests/package)
set(usr ${work}/root/usr)
include(${CMAKE_CURRENT_LIST_DIR}/Run.cmake)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work})
unset(ENV{QUORDIR})
unset(ENV{VESSA_PLUGIN_PATH})

run(${CPACK} --config ${BUILD}/CPackConfig.cmake -B ${work})
file(GLOB package ${work}/*.deb)
run(dpkg --print-architecture)
string(STRIP "${output}" architecture)
if(NOT package STREQUAL "${work}/vessa_${VERSION}_${architecture}.deb")
  message(FATAL_ERROR "the package is '${package}'")
endif()

run(dpkg-deb --field ${package})
expect_output("Package: vessa\n")
expect_output("Version: ${VERSION}\n")
expect_output("\nDepends: [^\n]*libc6 [^\n]*libpng[^\n]*libstdc\\+\\+6 [^\n]*libtiff")
expect_output("\nDescription: image-processing nodes for the shell and for C\\+\\+ programs\n A node ")
run(dpkg-deb --info ${package} triggers)
expect_output("^activate-noawait ldconfig\n$")
run(dpkg-deb --info ${package} shlibs)
expect_output("^libvessa 1 vessa \\(>= ${VERSION}\\)\n$")

run(dpkg-deb --extract ${package} ${work}/root)
file(GLOB folders RELATIVE ${work}/root ${work}/root/* ${work}/root/.*)
if(NOT folders STREQUAL "usr")
  message(FATAL_ERROR "the package has '${folders}' at its root")
endif()

# It runs from where it stands, with what belongs to it.
run(${usr}/bin/vessa --version)
expect_output("^vessa ${VERSION}\n$")
run(${usr}/bin/vessa list --json)
expect_output("\"file\": \"${usr}/lib/vessa/plugins/manipulation\\.so\"")
run(${usr}/bin/vessa run Flip -i ${usr}/share/vessa/samples/particles.png -o ${work}/flipped.png --flip_x)
expect_output("^$")
if(NOT EXISTS ${work}/flipped.png)
  message(FATAL_ERROR "flipped.png isn't written")
endif()
run(${usr}/bin/vessa describe Flip)
expect_output("Page:\n  ${usr}/doc/nodeka/html/manipulation/PFlip/index\\.html\n")

run(man -l ${usr}/share/man/man1/vessa.1.gz)
expect_output("image-processing nodes on files")
run(zcat ${usr}/share/doc/vessa/changelog.gz)
expect_output("^vessa \\(${VERSION}\\) ")

# Each shell finds its completion by itself.
set(ENV{HOME} ${work}) # where no one's own settings are
set(ENV{XDG_DATA_DIRS} ${usr}/share)
set(ENV{PATH} ${usr}/bin:$ENV{PATH})
run(bash --norc -c "source /usr/share/bash-completion/bash_completion && _completion_loader vessa || complete -p vessa")
expect_output("^complete -F _vessa vessa\n$")
run(fish -c "complete -C 'vessa run Fl'")
expect_output("^Flip\t")
run(zsh -f -c "fpath=(${usr}/share/zsh/site-functions $fpath) && autoload -U compinit && compinit -u -D &&
               print $_comps[vessa]")
expect_output("^_vessa\n$")

# Nothing in it knows where it was built.
run(sh -c "! grep -rlF -e '${BUILD}' -e '${SOURCE}' root")
foreach(binary bin/vessa lib/vessa/plugins/manipulation.so lib/vessa/plugins/shapefeatures.so)
  run(readelf -d ${usr}/${binary})
  expect_output("Library runpath: \\[\\$ORIGIN/[./lib]+\\]\n")
endforeach()
