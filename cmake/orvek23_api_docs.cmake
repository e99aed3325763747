# The target `orvek23_docs`: HTML of what a host includes, beside the documents, in <build>/docs/html. A
# warning is an error.
find_package(Doxygen 1.9 QUIET)
if(DOXYGEN_FOUND)
  set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
  set(DOXYGEN_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/docs")
  set(DOXYGEN_STRIP_FROM_PATH "${PROJECT_SOURCE_DIR}")
  set(DOXYGEN_STRIP_FROM_INC_PATH "${PROJECT_SOURCE_DIR}")
  set(DOXYGEN_USE_MDFILE_AS_MAINPAGE "${PROJECT_SOURCE_DIR}/docs/hosting.md")
  set(DOXYGEN_EXCLUDE_SYMBOLS "KT::Math::internal")
  set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
  set(DOXYGEN_SORT_MEMBER_DOCS NO)  # the order of declaration is by theme
  set(DOXYGEN_BUILTIN_STL_SUPPORT YES)
  set(DOXYGEN_GENERATE_TREEVIEW YES)
  set(DOXYGEN_HAVE_DOT NO)
  set(DOXYGEN_QUIET YES)
  set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
  doxygen_add_docs(orvek23_docs
    host/rigid_body_system.hpp host/loader.hpp ktmath/ktmath.hpp
    motion/csv_reader.hpp motion/motion_columns.hpp motion/motion_file.hpp motion/motion_writer.hpp
    motion/rates.hpp motion/robot_names.hpp motion/soles.hpp motion/window.hpp
    docs/hosting.md docs/conventions.md docs/accuracy.md docs/performance.md)
elseif(BUILD_TESTING)
  message(STATUS "orvek23_docs: no Doxygen to make and test them with (Debian: doxygen)")
endif()

function(orvek23_test_api_docs)
  if(DOXYGEN_FOUND)
    file(MAKE_DIRECTORY "${DOXYGEN_OUTPUT_DIRECTORY}")
    add_test(NAME api_docs COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/Doxyfile.orvek23_docs"
             WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
    set_tests_properties(api_docs PROPERTIES LABELS documents TIMEOUT 120)
  endif()
endfunction()
