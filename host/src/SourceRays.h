// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"
#include "LineOfSight.h"
#include "SurfaceSource.h"

#include <optional>
#include <span>

namespace kes::detail {

/// Where lines of sight first meet an elevation source of the host, of which nothing is known but the range of its
/// heights and how closely they vary. For one thread.
///
/// A line is walked down through the range in steps of a quarter of the source's spacing; between two places, of which
/// the first is above the surface and the second isn't, the place is closed to a tenth of a millimetre of height, or at
/// a wall to a micrometre along the line. What reaches into a line by less than a step may be missed. A line that comes
/// under the surface through a hole, or begins below it, meets nothing.
class SourceRays {
public:
  /// The caller keeps the surface, which is a source of the host. `toSurface` converts from the lines' local system to
  /// the surface's own.
  SourceRays(SurfaceSource const& surface, Converter toSurface);

  /// With places in the surface's system; `noSurface` where a line meets nothing. Throws what the source throws.
  void firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends);

private:
  struct Place {
    double depth;
    geo::XYZPoint position;  // in the surface's system
    double gap;              // metres above the surface; NaN where it has no height
  };
  Place at(LineOfSight const& line, double depth);
  std::optional<double> depthOf(LineOfSight const& line, double height, double depth);
  int stepsBetween(Place const& top, Place const& bottom) const;
  SightEnd firstHit(LineOfSight const& line);
  SightEnd closed(LineOfSight const& line, Place above, Place under);

  SurfaceSource const& mSurface;
  Converter mToSurface;
  double mUnit;  // of heights, metres
};

}  // namespace kes::detail
