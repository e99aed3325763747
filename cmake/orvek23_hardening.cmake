# What protects a program at no cost: symbols bound before main and then read-only, no executable stack.
# tests/packaging/hardening.sh reads it from the files.
if(NOT ORVEK23_SANITIZE)
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# TARGET reads what others have written: copies are checked where the compiler knows the size, and a
# canary stands on the stack. That one costs the plug-in more than 1 percent (docs/packages.md).
function(orvek23_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(NOT ORVEK23_SANITIZE)
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()
