// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYPoint.h>
#include <sensor/EOP.h>
#include <sensor/KESStripModel.h>
#include <simulation/ScanLine.h>

#include <limits>

namespace simulation {

ScanLine::ScanLine(sensor::KESStripModel const& strip, int band, double line, float foot)
    : mStrip(strip), mBand(band), mLine(line), mFoot(foot) {
  constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
  sensor::EOP eop;
  eop.x = eop.y = eop.z = nowhere;
  float lineCorrection = 0.0F;
  mStrip.computeOrientation(static_cast<float>(mLine), mBand, eop, lineCorrection);
  mEye = {eop.x, eop.y, eop.z};
}

LineOfSight ScanLine::through(double sample) const {
  geo::XYZPoint foot;
  mStrip.imageToLsr({sample, mLine}, mFoot, mBand, foot);
  return {mEye, foot};
}

}  // namespace simulation
