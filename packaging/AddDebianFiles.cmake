# Run by CPack once the files are installed below CPACK_TEMPORARY_INSTALL_DIRECTORY: compresses what a Debian package
# holds compressed, without time stamps, so that one tree always gives the same package.

cmake_minimum_required(VERSION 3.25)

set(prefix ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr)
file(COPY ${CPACK_VESSA_CHANGELOG} DESTINATION ${prefix}/share/doc/vessa)
file(GLOB files ${prefix}/share/man/man*/* ${prefix}/share/doc/vessa/changelog)
execute_process(COMMAND gzip -9 -n ${files} COMMAND_ERROR_IS_FATAL ANY)
