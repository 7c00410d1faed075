# Installs the build folder BUILD to a new place, moves that, builds the programs of SOURCE/examples on it with the
# COMPILER and its FLAGS, with CMake and with pkg-config, and runs them with the installed module, and an installed graph
# with the installed program.

cmake_minimum_required(VERSION 3.25)

set(work ${BUILD}/tests/installation)
set(prefix ${work}/moved)
include(${CMAKE_CURRENT_LIST_DIR}/Run.cmake)
file(REMOVE_RECURSE ${work})
# The examples as a stranger has them: a project of its own, away from everything.
file(COPY ${SOURCE}/examples DESTINATION ${work})

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${work}/installed)
file(RENAME ${work}/installed ${prefix})
foreach(path ${LIBRARIES}/vessa/plugins/manipulation.so include/vessa/vessa.h ${PROGRAMS})
  if(NOT EXISTS ${prefix}/${path})
    message(FATAL_ERROR "${path} isn't installed")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${work}/examples -B ${work}/with_cmake -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(${CMAKE_COMMAND} --build ${work}/with_cmake)
run(${CMAKE_CTEST_COMMAND} --test-dir ${work}/with_cmake --no-tests=error)

# The same program by hand, with nothing but what pkg-config tells.
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBRARIES}/pkgconfig)
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBRARIES})
run(sh -c "${COMPILER} ${FLAGS} examples/embed.cpp $(pkg-config --cflags --libs vessa) -o embed &&
           ./embed $(pkg-config --variable=plugindir vessa)/manipulation.so")
expect_output("^4 3 2 1 \n$")
run(pkg-config --modversion vessa)
expect_output("^${VERSION}\n$")

# The example graphs find the samples and the schema in the installed tree.
if(PROGRAMS)
  list(GET PROGRAMS 0 program)
  run(${prefix}/${program} pipeline ${prefix}/share/vessa/examples/graphs/straighten.json
      --output picture=${work}/plate.png)
  file(READ ${prefix}/share/vessa/examples/graphs/straighten.json graph)
  string(JSON schema GET "${graph}" "$schema")
  foreach(file ${work}/plate.png ${prefix}/share/vessa/examples/graphs/${schema})
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "${file} isn't there")
    endif()
  endforeach()
endif()
