# For test scripts: run(COMMAND...) runs a command in the folder `work`, ends the test on a failure, and leaves what was
# printed in `output`. expect_output(PATTERN) ends the test unless that matches.

function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${work}
                  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  list(JOIN ARGN " " command)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${command}: ${status}\n${output}")
  endif()
  set(command "${command}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_output pattern)
  if(NOT output MATCHES "${pattern}")
    message(FATAL_ERROR "${command}: its output doesn't match '${pattern}':\n${output}")
  endif()
endfunction()
