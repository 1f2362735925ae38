// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/FourLaneSolver.h"
#include "model/LineSolver.h"

#include <sensor/KESStripModel.h>

#include <stdexcept>

// A projection is a chain of small functions from several folders, which together take some tens of nanoseconds; calls between them
// would take a fifth of that again. `flatten` draws the whole chain into its entry.

namespace sensor {

namespace {

// Single precision counts samples exactly up to here.
constexpr unsigned int maxSamplesOfLanes = 1U << 24;

bool isReadInLanes(CalibrationGeometryKes const& calibration) {
  return calibration.isFull() && calibration.numSamples() <= maxSamplesOfLanes;
}

}  // namespace

[[gnu::flatten]] void KESStripModel::lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  solveLine(StripBand(*mData, band), ground, image, Unobserved());
}

int solveImage(KESStripModel const& strip, geo::XYZPoint const& ground, int band, geo::XYPoint& image) {
  PassCount count;
  solveLine(StripBand(*strip.modelData(), band), ground, image, count);
  return count.passes;
}

[[gnu::flatten]] void KESStripModel::lsrToImage(std::vector<geo::XYZPoint> const& ground, int band,
                                                std::vector<geo::XYPoint>& image) const {
  if (!ground.empty()) {
    solveLines(StripBand(*mData, band), ground, image, Unobserved());
  }
}

void KESStripModel::lsrToImageSSE(std::vector<geo::XYZPoint> const& ground, int band,
                                  std::vector<geo::XYPoint>& image) const {
  if (ground.size() % 4 != 0) {
    throw std::runtime_error("lsrToImageSSE: grndPts vector not a multiple of 4 in size.");
  }
  if (ground.empty()) {
    return;
  }
  StripBand const b(*mData, band);
  if (!isReadInLanes(b.calibration)) {
    solveLines(b, ground, image, Unobserved());
    return;
  }
  auto const solve = mSseEnabled ? solveInSseLanes : solveInPlainLanes;
  solve(fourLaneConstants(b), LineOrientations(b), ground.data(), ground.size(), image.data());
}

}  // namespace sensor
