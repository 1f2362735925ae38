// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AnyOrientation.h"

#include "model/PlainLanes.h"

void test::solveInPlainLanes(sensor::FourLaneConstants const& constants, AnyOrientation const& orientations,
                             std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image) {
  sensor::solveFourLanes<sensor::PlainLanes>(constants, orientations, ground.data(), ground.size(), image.data());
}
