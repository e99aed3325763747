#pragma once

/// @file
/// All quantities. docs/quantities.md leads from what is wanted to the call.

#include <quantities/balance.hpp>
#include <quantities/configuration.hpp>
#include <quantities/derivatives.hpp>
#include <quantities/dynamics.hpp>
#include <quantities/forces.hpp>
#include <quantities/frames.hpp>
#include <quantities/identification.hpp>
#include <quantities/inverse_kinematics.hpp>
#include <quantities/model.hpp>
#include <quantities/momentum.hpp>
#include <quantities/regressor.hpp>
#include <quantities/stance.hpp>
#include <quantities/state.hpp>
