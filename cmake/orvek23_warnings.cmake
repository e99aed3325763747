# Every target below the root is ours, and what it uses from elsewhere are system headers: so the
# warnings hold for the whole tree, and no target can forget them.
add_compile_options(
  -Wall -Wextra -Wpedantic
  -Wconversion -Wno-sign-conversion -Wold-style-cast -Wcast-qual -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual
  -Wundef -Wformat=2 -Wmissing-declarations
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>  # its plain -Wshadow minds x(x) in constructors
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
  $<$<BOOL:${ORVEK23_WARNINGS_AS_ERRORS}>:-Werror>)
