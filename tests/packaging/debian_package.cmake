# Makes the Debian package of BUILD in FOLDER, unpacks it, and runs what is in it.
file(REMOVE_RECURSE "${FOLDER}")
execute_process(COMMAND "${CPACK}" -G DEB -B "${FOLDER}" --config "${BUILD}/CPackConfig.cmake"
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB package "${FOLDER}/orvek23_${VERSION}_*.deb")
set(root "${FOLDER}/root")
execute_process(COMMAND "${DPKG_DEB}" --extract "${package}" "${root}" COMMAND_ERROR_IS_FATAL ANY)
foreach(program orvek23-replay orvek23-urdf)
  execute_process(COMMAND "${root}/usr/bin/${program}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()

execute_process(COMMAND "${DPKG_DEB}" --field "${package}" Depends
                OUTPUT_VARIABLE depends COMMAND_ERROR_IS_FATAL ANY)
if(NOT depends MATCHES "libc6 .*libstdc\\+\\+6 ")
  message(FATAL_ERROR "Package does not ask for the libraries it uses, only for: ${depends}")
endif()
# On the loader's default path the stand-in could be taken for the host platform's library.
if(EXISTS "${root}/usr/lib/libktmath.so")
  message(FATAL_ERROR "The stand-in for the host platform's library is in /usr/lib")
endif()
