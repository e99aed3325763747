# What protects a program at no cost: symbols bound before main and then read-only, no executable stack,
# checked copies where the compiler knows the size. tests/packaging/hardening.sh reads it from the files.
if(NOT ORVEK23_SANITIZE)
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  add_compile_options($<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
                      $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
endif()

# A canary on the stack costs the plug-in more than 1 percent (docs/packages.md), and nothing that
# anybody notices in TARGET, which reads what others have written.
function(orvek23_protect_stack target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
endfunction()
