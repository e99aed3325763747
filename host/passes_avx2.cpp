#include "lanes/pass_table.hpp"
//
#include "lanes/begin_avx2.hpp"
//
#include "lanes/passes.hpp"
#include "model/orvek23.hpp"

namespace instruction_sets {

extern const PassTable avx2;
constinit const PassTable avx2 = metapod::lanes::pass_table<metapod::orvek23>();

}  // namespace instruction_sets

#include "lanes/end_region.hpp"
