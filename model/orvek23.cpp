#include "model/orvek23.hpp"

namespace metapod {

LoadTimeTables<Orvek23Robot> Orvek23Robot::tables;

}  // namespace metapod
