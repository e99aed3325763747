find_program(HELP2MAN help2man)
if(NOT HELP2MAN)
  message(STATUS "No help2man: the programs' manual pages are left out")
endif()

# The manual page of PROGRAM is what the program says of itself, and manual.h2m beside its source.
function(orvek23_add_manual program)
  if(NOT HELP2MAN OR CMAKE_CROSSCOMPILING)
    return()
  endif()
  set(folder "${PROJECT_BINARY_DIR}/share/man/man1")
  set(manual "${folder}/${program}.1")
  file(MAKE_DIRECTORY "${folder}")
  add_custom_command(OUTPUT "${manual}" VERBATIM
                     COMMAND "${HELP2MAN}" --no-info --output "${manual}"
                             --include "${CMAKE_CURRENT_SOURCE_DIR}/manual.h2m"
                             "$<TARGET_FILE:${program}>"
                     DEPENDS ${program} manual.h2m)
  add_custom_target(${program}_manual ALL DEPENDS "${manual}")
  install(FILES "${manual}" DESTINATION share/man/man1)
endfunction()
