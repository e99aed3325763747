#pragma once

/// @file
/// All quantities.

#include <quantities/dynamics.hpp>
#include <quantities/forces.hpp>
#include <quantities/frames.hpp>
#include <quantities/model.hpp>
#include <quantities/momentum.hpp>
#include <quantities/state.hpp>
