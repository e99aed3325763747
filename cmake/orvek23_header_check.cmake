# One source per header, which includes only that header (twice: it must guard itself). What a host
# includes compiles as C++17, the rest as C++20.
function(orvek23_check_headers_as standard)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK;HEADERS")
  set(sources "")
  foreach(header IN LISTS arg_HEADERS)
    set(source "${PROJECT_BINARY_DIR}/header_check/${header}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include <${header}>\n#include <${header}>\n")
    list(APPEND sources "${source}")
  endforeach()
  if(sources)
    add_library(orvek23_header_check_${standard} OBJECT ${sources})
    target_link_libraries(orvek23_header_check_${standard} PRIVATE ${arg_LINK})
    set_target_properties(orvek23_header_check_${standard} PROPERTIES CXX_STANDARD ${standard})
    add_dependencies(orvek23_header_check orvek23_header_check_${standard})
  endif()
endfunction()

# Headers are found by pattern, so that a new one cannot be left out; the two ends of a region of
# source are no headers.
function(orvek23_check_headers)
  add_custom_target(orvek23_header_check)
  file(GLOB motion CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
       "${PROJECT_SOURCE_DIR}/motion/*.hpp")
  file(GLOB quantities CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
       "${PROJECT_SOURCE_DIR}/quantities/*.hpp")
  set(public batch/batch.hpp ktmath/ktmath.hpp host/loader.hpp host/rigid_body_system.hpp ${motion}
      ${quantities})
  file(GLOB inner CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
       "${PROJECT_SOURCE_DIR}/spatial/*.hpp" "${PROJECT_SOURCE_DIR}/model/*.hpp"
       "${PROJECT_SOURCE_DIR}/algorithms/*.hpp" "${PROJECT_SOURCE_DIR}/lanes/*.hpp"
       "${PROJECT_SOURCE_DIR}/batch/*.hpp" "${PROJECT_SOURCE_DIR}/host/*.hpp"
       "${PROJECT_SOURCE_DIR}/checked/*.hpp"
       "${PROJECT_SOURCE_DIR}/apps/*/*.hpp" "${PROJECT_SOURCE_DIR}/apps/*/*/*.hpp")
  list(REMOVE_ITEM inner ${public} lanes/begin_avx2.hpp lanes/begin_avx512.hpp
       lanes/end_region.hpp)
  orvek23_check_headers_as(17 LINK orvek23::host HEADERS ${public})
  orvek23_check_headers_as(20 LINK orvek23::core orvek23::host HEADERS ${inner})
  # Two minutes: scripts/static.sh.
  set_target_properties(orvek23_header_check_20 PROPERTIES EXCLUDE_FROM_ALL ON)
endfunction()
