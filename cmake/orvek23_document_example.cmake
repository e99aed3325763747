# The C++ program that a document shows is compiled as a host's, run, and held to the output shown
# after it: NAME from DOCUMENT.
function(orvek23_test_document_example name document)
  set(path "${PROJECT_SOURCE_DIR}/${document}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${path}")
  file(READ "${path}" text)
  if(NOT text MATCHES "```cpp\n([^`]*)```[^`]*```text\n([^`]*)```")
    message(FATAL_ERROR "${document}: no C++ example that is followed by its output")
  endif()
  set(output "${CMAKE_MATCH_2}")
  file(CONFIGURE OUTPUT ${name}.cpp CONTENT "${CMAKE_MATCH_1}" @ONLY)
  file(CONFIGURE OUTPUT ${name}.txt CONTENT "${output}" @ONLY)

  find_package(Threads REQUIRED)
  add_executable(${name} "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  target_link_libraries(${name} PRIVATE orvek23::host Threads::Threads)
  target_compile_definitions(${name} PRIVATE ORVEK23_PLUGIN="$<TARGET_FILE:orvek23>")
  set_target_properties(${name} PROPERTIES CXX_STANDARD 17)
  add_dependencies(${name} orvek23)  # loaded, not linked
  add_test(NAME ${name}
           COMMAND ${CMAKE_COMMAND} "-DPROGRAM=${CMAKE_CROSSCOMPILING_EMULATOR};$<TARGET_FILE:${name}>"
                   -DEXPECTED=${CMAKE_CURRENT_BINARY_DIR}/${name}.txt
                   -P "${PROJECT_SOURCE_DIR}/cmake/expect_output.cmake")
  set_tests_properties(${name} PROPERTIES LABELS documents TIMEOUT 60)
endfunction()
