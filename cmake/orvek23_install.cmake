include(CMakePackageConfigHelpers)

# Four components, and four Debian packages of the same parts:
#   runtime   the plug-in, the stand-in for the platform's library, the documents
#   dev       what hosts are compiled and tried with, HTML
#   tools     the programs
#   python    the module, if it is built
# Fixed folders: a program finds the plug-in and its data relative to itself.
set(package_dir lib/cmake/orvek23)

set(libraries orvek23_ktmath orvek23_host orvek23_motion orvek23_quantities)
if(ORVEK23_BATCH)
  list(APPEND libraries orvek23_batch)
endif()

install(TARGETS orvek23 LIBRARY DESTINATION lib COMPONENT runtime)
install(TARGETS orvek23-checked LIBRARY DESTINATION lib COMPONENT dev)
install(TARGETS ${libraries} EXPORT orvek23Targets
        LIBRARY DESTINATION lib/orvek23 COMPONENT runtime
        ARCHIVE DESTINATION lib COMPONENT dev
        FILE_SET HEADERS DESTINATION include/orvek23 COMPONENT dev)
install(EXPORT orvek23Targets NAMESPACE orvek23:: DESTINATION ${package_dir} COMPONENT dev)

set(plugin_from_package
    "../../${CMAKE_SHARED_MODULE_PREFIX}orvek23${CMAKE_SHARED_MODULE_SUFFIX}")
configure_package_config_file(cmake/orvek23Config.cmake.in orvek23Config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(orvek23ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/orvek23Config.cmake"
              "${PROJECT_BINARY_DIR}/orvek23ConfigVersion.cmake"
        DESTINATION ${package_dir} COMPONENT dev)

# In share/, where pkg-config looks for other machines, too: it names no folder of this one.
configure_file(cmake/orvek23.pc.in orvek23.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orvek23.pc" DESTINATION share/pkgconfig COMPONENT dev)

# The documents, in the folders that their links expect: in the build folder as in an installation.
file(GLOB documents CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" *.md apps/*/*.md docs/* examples/*
     report/*.md)
foreach(document IN LISTS documents)
  configure_file(${document} "${PROJECT_BINARY_DIR}/share/doc/orvek23/${document}" COPYONLY)
  get_filename_component(folder "${document}" DIRECTORY)
  install(FILES ${document} DESTINATION share/doc/orvek23/${folder} COMPONENT runtime)
endforeach()
# Where the target orvek23_docs has made it.
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/html" DESTINATION share/doc/orvek23-dev
        COMPONENT dev OPTIONAL)
