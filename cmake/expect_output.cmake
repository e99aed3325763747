# Runs PROGRAM, which may have arguments: an error unless it succeeds and prints what the file EXPECTED holds.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE got COMMAND_ERROR_IS_FATAL ANY)
file(READ "${EXPECTED}" want)
if(NOT got STREQUAL want)
  message(FATAL_ERROR "printed\n${got}instead of\n${want}")
endif()
