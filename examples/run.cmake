# Runs PROGRAM with PLUGIN and WALK: an error unless it prints what README shows after the line
# "$ NAME ...".
execute_process(COMMAND "${PROGRAM}" "${PLUGIN}" "${WALK}"
                OUTPUT_VARIABLE got COMMAND_ERROR_IS_FATAL ANY)
file(READ "${README}" text)
string(FIND "${text}" "$ ${NAME} " at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show ${NAME}. It printed\n${got}")
endif()
string(SUBSTRING "${text}" ${at} -1 text)
string(FIND "${text}" "\n" begin)
string(FIND "${text}" "```" end)
math(EXPR begin "${begin} + 1")
math(EXPR length "${end} - ${begin}")
string(SUBSTRING "${text}" ${begin} ${length} want)
if(NOT got STREQUAL want)
  message(FATAL_ERROR "printed\n${got}instead of\n${want}")
endif()
