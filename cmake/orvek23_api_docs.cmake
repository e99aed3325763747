# The target `orvek23_docs`: HTML of what a host includes and of the documents, in <build>/docs/html. A
# warning is an error.
find_package(Doxygen 1.9 QUIET)
if(DOXYGEN_FOUND)
  set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
  set(DOXYGEN_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/docs")
  set(DOXYGEN_STRIP_FROM_PATH "${PROJECT_SOURCE_DIR}")
  set(DOXYGEN_STRIP_FROM_INC_PATH "${PROJECT_SOURCE_DIR}")
  set(DOXYGEN_USE_MDFILE_AS_MAINPAGE "${PROJECT_SOURCE_DIR}/README.md")
  set(DOXYGEN_EXCLUDE_SYMBOLS "KT::Math::internal" "tavo::quantities::internal")
  set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
  set(DOXYGEN_SORT_MEMBER_DOCS NO)  # the order of declaration is by theme
  set(DOXYGEN_BUILTIN_STL_SUPPORT YES)
  set(DOXYGEN_GENERATE_TREEVIEW YES)
  set(DOXYGEN_HAVE_DOT NO)
  set(DOXYGEN_QUIET YES)
  set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
  set(DOXYGEN_INPUT_FILTER "sed -E -f ${PROJECT_SOURCE_DIR}/cmake/markdown_for_doxygen.sed")
  set(DOXYGEN_HTML_EXTRA_FILES "${PROJECT_SOURCE_DIR}/docs/walk.svg" "${PROJECT_SOURCE_DIR}/docs/report.png"
      "${PROJECT_SOURCE_DIR}/docs/realtime.svg")
  set(DOXYGEN_IMAGE_PATH "${PROJECT_SOURCE_DIR}/docs")
  file(GLOB quantities CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
       "${PROJECT_SOURCE_DIR}/quantities/*.hpp")
  list(REMOVE_ITEM quantities quantities/composite.hpp)  # not installed
  doxygen_add_docs(orvek23_docs
    README.md docs/conventions.md docs/hosting.md docs/packages.md docs/accuracy.md
    docs/performance.md docs/batch.md docs/lanes.md docs/reliability.md docs/mutants.md docs/realtime.md apps/replay/README.md apps/urdf/README.md CONTRIBUTING.md
    CHANGELOG.md
    host/rigid_body_system.hpp host/loader.hpp ktmath/ktmath.hpp batch/batch.hpp
    motion/csv_reader.hpp motion/motion_columns.hpp motion/motion_file.hpp motion/motion_writer.hpp
    motion/rates.hpp motion/robot_names.hpp motion/soles.hpp motion/window.hpp
    ${quantities} report/README.md docs/quantities.md docs/tutorials.md examples/README.md
    docs/python.md docs/python_calibration.md docs/scale.md)
elseif(BUILD_TESTING)
  message(STATUS "orvek23_docs: no Doxygen to make and test them with (Debian: doxygen)")
endif()

function(orvek23_test_api_docs)
  if(DOXYGEN_FOUND)
    file(MAKE_DIRECTORY "${DOXYGEN_OUTPUT_DIRECTORY}")
    add_test(NAME api_docs COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/Doxyfile.orvek23_docs"
             WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
    set_tests_properties(api_docs PROPERTIES FIXTURES_SETUP html RESOURCE_LOCK html)
    # The first page is the README, and the operations stand by theme, as in the header.
    add_test(NAME api_docs_pages WORKING_DIRECTORY "${DOXYGEN_OUTPUT_DIRECTORY}/html"
             COMMAND sh -c "grep -q scripts/demo.sh index.html && test -e walk.svg && \
themes=$(grep -c '@name' \"$0\") && [ $themes -ge 8 ] && \
[ $(grep -c 'class=.groupHeader' classtavo_1_1RigidBodySystem.html) = $themes ]"
             "${PROJECT_SOURCE_DIR}/host/rigid_body_system.hpp")
    set_tests_properties(api_docs_pages PROPERTIES FIXTURES_REQUIRED html)
    set_tests_properties(api_docs api_docs_pages PROPERTIES LABELS documents TIMEOUT 120)
  endif()
endfunction()
