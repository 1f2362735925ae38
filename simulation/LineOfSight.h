// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

namespace simulation {

/// A straight line down from an eye, in a local system of z up. Positions on it are told by their z.
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

}  // namespace simulation
