# A program and all the libraries it loads are instrumented alike. The first finding ends the
# program, so that a test cannot pass over it.
if(ORVEK23_SANITIZE)
  add_compile_options(-fsanitize=${ORVEK23_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVEK23_SANITIZE})
  add_compile_definitions(ORVEK23_SANITIZED)
  # g++ warns of values set in branches that it cannot follow in instrumented code.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
