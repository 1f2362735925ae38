// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Status.h>

namespace kes::detail {

/// A line of sight in a local system: from the eye down, one metre of z for each metre of depth.
struct LineOfSight {
  geo::XYZPoint eye;
  double dx;
  double dy;

  geo::XYZPoint at(double depth) const { return {eye.x + depth * dx, eye.y + depth * dy, eye.z - depth}; }
};

/// Where a line of sight reaches a height of a system: its depth there, to a micrometre, and the position of the system
/// at that very height.
struct HeightCut {
  double depth;
  geo::XYZPoint place;
  Status status;
};

/// Cuts lines of sight at heights of a system; for one thread. The first guess follows the Earth's curvature, so that
/// two conversions are enough for most lines.
class HeightCutter {
public:
  /// `toSystem` converts from the lines' local system.
  HeightCutter(Converter toSystem, CoordinateSystem const& system);

  HeightCut cut(LineOfSight const& line, double height);

private:
  double guess(LineOfSight const& line, double height) const;
  static HeightCut finished(HeightCut const& cut, double height);

  Converter mToSystem;
  double mUnit;          // of heights, metres
  double mOrigin = 0.0;  // the height of the local system's origin, metres
};

}  // namespace kes::detail
