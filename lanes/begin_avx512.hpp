// As begin_avx2.hpp, for the AVX-512 of all processors that have eight of its parts or more.

#include "lanes/before_region.hpp"

#define ORVEK23_AVX2
#define ORVEK23_AVX512
#define metapod metapod_avx512

#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"))), \
                             apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl")
#endif
