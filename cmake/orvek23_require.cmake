# find_package, with a message that says what to do where the package is missing: INSTEAD is the way
# to do without, DEBIAN the package to install.
macro(orvek23_require package version instead debian)
  find_package(${package} ${version} CONFIG QUIET)
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR
            "No ${package} ${version} or newer: ${instead}, or install it (Debian: ${debian}).")
  endif()
endmacro()
