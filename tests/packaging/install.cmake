# Installs BUILD into TREE by way of another folder: a package works wherever it is moved to, and
# names no folder of the machine that built it.
file(REMOVE_RECURSE "${TREE}" "${TREE}-first")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${TREE}-first"
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${TREE}-first" "${TREE}")

# The Debian packages are the components: what is in none of them would be missing there.
file(REMOVE_RECURSE "${TREE}-parts")
foreach(component runtime dev tools python)
  execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${TREE}-parts"
                          --component ${component}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE whole RELATIVE "${TREE}" "${TREE}/*")
file(GLOB_RECURSE parts RELATIVE "${TREE}-parts" "${TREE}-parts/*")
if(NOT whole STREQUAL parts)
  list(REMOVE_ITEM whole ${parts})
  message(FATAL_ERROR "In no component: ${whole}")
endif()

execute_process(COMMAND grep -rIlF -e "${BUILD}" -e "${SOURCE}" -e "${TREE}" "${TREE}"
                OUTPUT_VARIABLE files RESULT_VARIABLE absent)
if(NOT absent EQUAL 1)
  message(FATAL_ERROR "Folders of this machine are named in:\n${files}")
endif()

# Documents that link to each other must lie as they do in the source.
file(GLOB_RECURSE documents "${TREE}/share/doc/*.md")
foreach(document IN LISTS documents)
  get_filename_component(folder "${document}" DIRECTORY)
  file(READ "${document}" text)
  string(REGEX MATCHALL "\\([A-Za-z0-9_./-]+\\.(md|svg|csv|hpp)[)#]" links "${text}")
  foreach(link IN LISTS links)
    string(REGEX REPLACE "[()#]" "" target "${link}")
    if(NOT EXISTS "${folder}/${target}")
      message(FATAL_ERROR "${document} refers to ${target}, which is not installed")
    endif()
  endforeach()
endforeach()

# The plug-in finds the stand-in by itself, for a host that has not loaded the library before it.
execute_process(COMMAND ldd "${TREE}/lib/liborvek23.so" OUTPUT_VARIABLE libraries)
if(NOT libraries MATCHES "libktmath.so => ${TREE}/lib/orvek23/libktmath.so")
  message(FATAL_ERROR "The plug-in alone loads:\n${libraries}")
endif()

# As /lib is a link to /usr/lib in Debian, where CMake may find the package first.
file(MAKE_DIRECTORY "${TREE}/linked")
file(CREATE_LINK "${TREE}/lib" "${TREE}/linked/lib" SYMBOLIC)
