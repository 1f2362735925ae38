// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/LineOfSight.h>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// The lines of sight of one line of an image: from the perspective centre at the line's exposure through where the sensor
/// model has each sample on the ground. The caller keeps the strip, whose data are loaded.
class ScanLine {
public:
  /// `foot`: a height (local system, metres) below the camera.
  ScanLine(sensor::KESStripModel const& strip, int band, double line, float foot);

  LineOfSight through(double sample) const;

private:
  sensor::KESStripModel const& mStrip;
  int mBand;
  double mLine;
  float mFoot;
  geo::XYZPoint mEye;
};

}  // namespace simulation
