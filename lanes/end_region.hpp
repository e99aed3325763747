#ifdef __clang__
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#undef metapod
#undef ORVEK23_AVX2
#undef ORVEK23_AVX512
