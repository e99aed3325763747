# The host program that the README shows is compiled, run, and held to the numbers shown beside it.
function(orvek23_test_readme_example)
  set(readme "${PROJECT_SOURCE_DIR}/README.md")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${readme}")
  file(READ "${readme}" text)
  if(NOT text MATCHES "```cpp\n([^`]*)```[^`]*```text\n([^`]*)```")
    message(FATAL_ERROR "README.md: no C++ example that is followed by its output")
  endif()
  set(output "${CMAKE_MATCH_2}")
  file(CONFIGURE OUTPUT readme_example.cpp CONTENT "${CMAKE_MATCH_1}" @ONLY)
  string(REGEX REPLACE "([][+.*()^])" "\\\\\\1" expected "${output}")

  add_executable(readme_example "${CMAKE_CURRENT_BINARY_DIR}/readme_example.cpp")
  target_link_libraries(readme_example PRIVATE orvek23::host)
  set_target_properties(readme_example PROPERTIES CXX_STANDARD 17)
  add_dependencies(readme_example orvek23)  # loaded, not linked
  add_test(NAME readme_example COMMAND readme_example $<TARGET_FILE:orvek23>)
  set_tests_properties(readme_example PROPERTIES PASS_REGULAR_EXPRESSION "^${expected}")
endfunction()
