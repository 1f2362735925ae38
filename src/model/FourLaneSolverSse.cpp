// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/FourLaneSolver.h"
#include "model/SseLanes.h"

namespace sensor {

void solveInSseLanes(FourLaneConstants const& constants, LineOrientations const& orientations,
                     geo::XYZPoint const* ground, std::size_t count, geo::XYPoint* image) {
  solveFourLanes<SseLanes>(constants, orientations, ground, count, image);
}

}  // namespace sensor
