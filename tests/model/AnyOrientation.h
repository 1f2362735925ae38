// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "model/FourLaneSolver.h"

#include <functional>
#include <vector>

namespace test {

/// Orientations of any kind for the search in lanes, so that a test's compilation meets the search but once.
using AnyOrientation = std::function<void(float line, bool headingOnly, unsigned lane, sensor::FourLaneOrientation&)>;

/// Solves a run, whose count is a multiple of four, in plain lanes.
void solveInPlainLanes(sensor::FourLaneConstants const& constants, AnyOrientation const& orientations,
                       std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image);
/// The same in those of the vector unit, where this processor has them; otherwise in plain ones.
void solveInSseLanes(sensor::FourLaneConstants const& constants, AnyOrientation const& orientations,
                     std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image);

}  // namespace test
