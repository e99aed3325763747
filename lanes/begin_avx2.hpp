// Between this and end_region.hpp, what a source includes of this project is compiled for AVX2 and
// in a namespace of its own: a call that is not inlined stays among its like, and no function that
// another source could share is compiled for more than any x86-64. So everything that is not ours
// comes first, and no header of spatial/, model/, algorithms/ or lanes/ before it.

#include "lanes/before_region.hpp"

#define ORVEK23_AVX2
#define metapod metapod_avx2

#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif
