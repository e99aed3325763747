include(CMakePackageConfigHelpers)

# Fixed folders: a program finds the plug-in and its data relative to itself.
set(package_dir lib/cmake/orvek23)

install(TARGETS ktmath orvek23_host orvek23_batch orvek23_motion EXPORT orvek23Targets
        LIBRARY DESTINATION lib/orvek23
        ARCHIVE DESTINATION lib
        FILE_SET HEADERS DESTINATION include/orvek23)
install(TARGETS orvek23 LIBRARY DESTINATION lib)
install(EXPORT orvek23Targets NAMESPACE orvek23:: DESTINATION ${package_dir})

set(plugin_from_package
    "../../${CMAKE_SHARED_MODULE_PREFIX}orvek23${CMAKE_SHARED_MODULE_SUFFIX}")
configure_package_config_file(cmake/orvek23Config.cmake.in orvek23Config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(orvek23ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/orvek23Config.cmake"
              "${PROJECT_BINARY_DIR}/orvek23ConfigVersion.cmake"
        DESTINATION ${package_dir})

configure_file(cmake/orvek23.pc.in orvek23.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orvek23.pc" DESTINATION lib/pkgconfig)

# The documents, in the folders that their links expect: in the build folder as in an installation.
file(GLOB documents CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" *.md apps/*/*.md docs/*)
foreach(document IN LISTS documents)
  configure_file(${document} "${PROJECT_BINARY_DIR}/share/doc/orvek23/${document}" COPYONLY)
  get_filename_component(folder "${document}" DIRECTORY)
  install(FILES ${document} DESTINATION share/doc/orvek23/${folder})
endforeach()

# cpack: a Debian package of all the above. On a robot it is the plug-in alone that counts, so what
# hosts are compiled with and what pictures are drawn with is recommended, not required.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "orvek23 <orvek23@localhost>")
set(CPACK_PACKAGE_DESCRIPTION
    "The plug-in that a robot's host program loads, the headers to compile hosts with, a program
that replays motions through the plug-in and one that prints the robot as URDF.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib/orvek23")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnuplot-nox, libeigen3-dev (>= 3.4)")
set(CPACK_DEBIAN_PACKAGE_SECTION science)
include(CPack)
