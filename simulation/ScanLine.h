// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// A straight line down from an eye, in a local system of z up. A position on it is given by its z.
class LineOfSight {
public:
  /// Through a position that is lower than the eye.
  LineOfSight(geo::XYZPoint const& eye, geo::XYZPoint const& foot)
      : mEye(eye), mDx((foot.x - eye.x) / (foot.z - eye.z)), mDy((foot.y - eye.y) / (foot.z - eye.z)) {}

  double eyeHeight() const { return mEye.z; }
  geo::XYZPoint at(double z) const { return {mEye.x + (z - mEye.z) * mDx, mEye.y + (z - mEye.z) * mDy, z}; }

private:
  geo::XYZPoint mEye;
  double mDx;
  double mDy;
};

/// The lines of sight of one line of an image: from the perspective centre at the line's exposure through where the
/// sensor model has each sample on the ground. The caller keeps the strip, whose data are loaded.
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
