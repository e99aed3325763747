# How the passes are compiled: long straight-line functions on four-lane registers, whose cost is the
# number of instructions. Measured with g++ 12 in instructions per inverse dynamics (AVX2):
#   -O3 5676, without its own vectoriser 5665, operands not reordered by -ftree-ter 5529, live ranges
#   shortened before registers are given out 5380.
# isa: the path, one of auto (chosen when loaded), baseline, avx2.
# clang 14 leaves calls in so long a function at its own threshold.
function(orvek23_tune_passes target isa)
  target_compile_options(${target} PRIVATE
    "$<$<CXX_COMPILER_ID:GNU>:-fno-tree-vectorize;-fno-tree-ter;-flive-range-shrinkage>"
    # g++ 12 inlines only one of the adapter's own new and delete, then misses the other.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-mismatched-new-delete>
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-mllvm -inline-threshold=100000>")
  if(isa STREQUAL "baseline")
    target_compile_definitions(${target} PRIVATE ORVEK23_ISA_BASELINE)
  elseif(isa STREQUAL "avx2")
    target_compile_definitions(${target} PRIVATE ORVEK23_ISA_AVX2)
  elseif(NOT isa STREQUAL "auto")
    message(FATAL_ERROR "ORVEK23_ISA is auto, baseline or avx2, not \"${isa}\"")
  endif()
endfunction()
