# The URDF in the tools that it is made for, one program of tests a tool. Each is built where its tool
# is installed.
function(orvek23_add_urdf_tests tool)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DEBIAN" "NEEDS;LINK;INCLUDE")
  foreach(need IN LISTS arg_NEEDS)
    if(NOT ${need})
      message(WARNING "The URDF is not tested in ${tool} (Debian: ${arg_DEBIAN})")
      return()
    endif()
  endforeach()
  string(TOLOWER "urdf_${tool}_test" name)
  orvek23_add_tests(${name}s LABEL urdf SOURCES ${name}.cpp LINK ${arg_LINK})
  target_include_directories(${name}s SYSTEM PRIVATE ${arg_INCLUDE})
  target_compile_definitions(${name}s PRIVATE URDF_PROGRAM="$<TARGET_FILE:orvek23-urdf>")
  add_dependencies(${name}s orvek23-urdf)
endfunction()

# Debian's package files of these three name more than their packages bring.
find_path(URDFDOM_INCLUDE urdf_parser/urdf_parser.h)
find_library(URDFDOM_LIBRARY urdfdom_model)
find_path(KDL_PARSER_INCLUDE kdl_parser/kdl_parser.hpp)
find_library(KDL_PARSER_LIBRARY kdl_parser)
find_path(MUJOCO_INCLUDE mujoco/mujoco.h)
find_library(MUJOCO_LIBRARY mujoco)
find_package(sdformat12 QUIET)
find_package(DART QUIET COMPONENTS utils-urdf CONFIG)

orvek23_add_urdf_tests(KDL DEBIAN "liburdfdom-dev, libkdl-parser-dev"
  NEEDS URDFDOM_INCLUDE URDFDOM_LIBRARY KDL_PARSER_INCLUDE KDL_PARSER_LIBRARY
  LINK orvek23_urdf_lib ${KDL_PARSER_LIBRARY} ${URDFDOM_LIBRARY} orocos-kdl
  INCLUDE ${URDFDOM_INCLUDE} ${KDL_PARSER_INCLUDE})
if(ORVEK23_SANITIZE)
  return()  # these read the same text as KDL, and take longer to compile than all else
endif()
orvek23_add_urdf_tests(sdformat DEBIAN libsdformat-dev
  NEEDS sdformat12_FOUND LINK sdformat12::sdformat12)
orvek23_add_urdf_tests(DART DEBIAN libdart-utils-urdf-dev
  NEEDS DART_FOUND LINK dart-utils-urdf dart)
orvek23_add_urdf_tests(MuJoCo DEBIAN libmujoco-dev
  NEEDS MUJOCO_INCLUDE MUJOCO_LIBRARY LINK ${MUJOCO_LIBRARY} INCLUDE ${MUJOCO_INCLUDE})
