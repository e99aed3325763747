#include "lanes/pass_table.hpp"
//
#include "lanes/begin_avx2.hpp"
//
#include "lanes/passes.hpp"
#include "tests/trees.hpp"

namespace test {

using Table = std::array<instruction_sets::PassTable, metapod::trees::nb_models>;
extern const Table avx2_passes;
constinit const Table avx2_passes = []<std::size_t... k>(std::index_sequence<k...>) {
  return Table{metapod::lanes::pass_table<std::tuple_element_t<k, metapod::trees::Models>>()...};
}
(std::make_index_sequence<metapod::trees::nb_models>{});

}  // namespace test

#include "lanes/end_region.hpp"
