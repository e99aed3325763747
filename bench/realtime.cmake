# Times of a cycle and what it asks of the system: scripts/realtime.sh; as a test, in a reduced form.
add_executable(orvek23_realtime bench/realtime.cpp bench/operations.cpp bench/states.cpp
               tests/heap_watch.cpp)
target_compile_features(orvek23_realtime PRIVATE cxx_std_20)
target_include_directories(orvek23_realtime PRIVATE "${PROJECT_SOURCE_DIR}")
target_link_libraries(orvek23_realtime PRIVATE orvek23::host CLI11::CLI11)
add_dependencies(orvek23_realtime orvek23)  # loaded, not linked
if(BUILD_TESTING AND NOT ORVEK23_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME realtime COMMAND orvek23_realtime --cycles 200000 --check "$<TARGET_FILE:orvek23>")
  set_tests_properties(realtime PROPERTIES LABELS plugin SKIP_RETURN_CODE 77 TIMEOUT 300)
endif()
