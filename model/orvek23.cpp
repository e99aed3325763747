#include "model/orvek23.hpp"

namespace metapod {

LoadTimeTables<Orvek23> Orvek23::tables;

}  // namespace metapod
