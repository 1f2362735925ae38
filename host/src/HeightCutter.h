// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"
#include "LineOfSight.h"

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>

#include <cstddef>
#include <span>
#include <vector>

namespace kes::detail {

/// Cuts lines of sight at heights of a system, many together; for one thread. The first guess follows the Earth's
/// curvature, so that two conversions are enough for most lines. A depth is found to a micrometre, with the position of
/// the system at that very height.
class HeightCutter {
public:
  /// `toSystem` converts from the lines' local system.
  HeightCutter(Converter toSystem, CoordinateSystem const& system);

  /// Cuts each line at its own height.
  void cut(std::span<LineOfSight const> lines, std::span<double const> heights, std::span<SightEnd> cuts);
  /// Near where a line reaches a height: to some metres, within 100 km of the local system's origin.
  double guess(LineOfSight const& line, double height) const;

private:
  // A line that isn't finished.
  struct Open {
    std::size_t index;
    double depth;     // of the next cut
    SightEnd last;    // the cut before
    double lastRest;  // NaN before the first
  };
  bool advance(Open& open, double height, geo::XYZPoint const& place, SightEnd& cut) const;
  static SightEnd finished(SightEnd const& cut, double height);

  Converter mToSystem;
  double mUnit;          // of heights, metres
  double mOrigin = 0.0;  // the height of the local system's origin, metres
  std::vector<Open> mOpen;
  std::vector<geo::XYZPoint> mPlaces;
};

}  // namespace kes::detail
