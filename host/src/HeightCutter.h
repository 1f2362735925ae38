// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"
#include "LineOfSight.h"

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>

#include <cstdint>
#include <span>
#include <vector>

namespace kes::detail {

/// Cuts lines of sight at heights of a system, many together; for one thread. The first guess follows the Earth's
/// curvature, so that two conversions are enough for most lines: those are cut in lanes, the others one after the other
/// with the same bits. A depth is found to a micrometre, with the position of the system at that very height.
class HeightCutter {
public:
  static constexpr double TOLERANCE = 1e-6;  ///< Metres.
  /// Square metres: a line of sight bends by 1 / R per metre in another system, so that a step s beyond two places at a
  /// distance d departs from their chord by s d / 2R.
  static constexpr double STRAIGHT = 1.0;

  /// `toSystem` converts from the lines' local system.
  HeightCutter(Converter toSystem, CoordinateSystem const& system);

  /// Cuts each line at its own height.
  void cut(std::span<LineOfSight const> lines, std::span<double const> heights, std::span<SightEnd> cuts);
  /// The height of the local system's origin, metres.
  double origin() const { return mOrigin; }

private:
  SightEnd cut(LineOfSight const& line, double height);

  // Near where a line reaches a height: to some metres, within 100 km of the local system's origin.
  double guess(LineOfSight const& line, double height) const;
  static SightEnd finished(SightEnd const& cut, double height);

  Converter mToSystem;
  double mUnit;  // of heights, metres
  double mOrigin = 0.0;
  // Of a call.
  std::vector<double> mFirstDepths;
  std::vector<double> mDepths;
  std::vector<geo::XYZPoint> mFirstPlaces;
  std::vector<geo::XYZPoint> mPlaces;
  std::vector<std::uint32_t> mRest;
};

}  // namespace kes::detail
