# Installs the build folder BUILD to a new place, moves that, builds the programs of SOURCE/examples on it with the
# COMPILER and its FLAGS, and runs them with the installed module, and an installed graph with the installed program.

cmake_minimum_required(VERSION 3.25)

set(work ${BUILD}/tests/installation)
set(prefix ${work}/moved)
file(REMOVE_RECURSE ${work})

# run(COMMAND...) ends the test on a failure and leaves what was printed in `output`.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}: ${status}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${work}/installed)
file(RENAME ${work}/installed ${prefix})
foreach(path ${LIBRARIES}/vessa/plugins/manipulation.so include/vessa/vessa.h ${PROGRAMS})
  if(NOT EXISTS ${prefix}/${path})
    message(FATAL_ERROR "${path} isn't installed")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${SOURCE}/examples -B ${work}/examples -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(${CMAKE_COMMAND} --build ${work}/examples)
run(${work}/examples/embed ${prefix}/${LIBRARIES}/vessa/plugins/manipulation.so)
if(NOT output STREQUAL "4 3 2 1 \n")
  message(FATAL_ERROR "the example prints '${output}'")
endif()

# The example graphs find the samples and the schema in the installed tree.
if(PROGRAMS)
  run(${prefix}/${PROGRAMS} pipeline ${prefix}/share/vessa/examples/graphs/straighten.json
      --output picture=${work}/plate.png)
  file(READ ${prefix}/share/vessa/examples/graphs/straighten.json graph)
  string(JSON schema GET "${graph}" "$schema")
  foreach(file ${work}/plate.png ${prefix}/share/vessa/examples/graphs/${schema})
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "${file} isn't there")
    endif()
  endforeach()
endif()
