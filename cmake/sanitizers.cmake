# A program and all the libraries it loads are instrumented alike. The first finding ends the
# program, so that a test cannot pass over it.
if(ORVEK23_SANITIZE)
  add_compile_options(-fsanitize=${ORVEK23_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVEK23_SANITIZE})
  # Instrumented code inlines otherwise, and g++ then warns of what is not there: an operator delete
  # that it inlines while its operator new is a call, values set in branches it cannot follow.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-mismatched-new-delete>
                      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
