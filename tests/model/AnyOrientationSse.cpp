// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AnyOrientation.h"

#ifdef __SSE4_1__
#include "model/SseLanes.h"
using Lanes = sensor::SseLanes;
#else
#include "model/PlainLanes.h"
using Lanes = sensor::PlainLanes;
#endif

void test::solveInSseLanes(sensor::FourLaneConstants const& constants, AnyOrientation const& orientations,
                           std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image) {
  sensor::solveFourLanes<Lanes>(constants, orientations, ground.data(), ground.size(), image.data());
}
