#include <ktmath/ktmath.hpp>
#include <new>
#include <xmmintrin.h>

#include "batch/kernel.hpp"
//
#include "lanes/begin_avx2.hpp"
//
#include "batch/evaluate.hpp"
#include "model/orvek23.hpp"

constinit const tavo::batch::Kernel tavo::batch::avx2_kernel =
    metapod::batch::kernel<metapod::Orvek23Robot>();

#include "lanes/end_region.hpp"
