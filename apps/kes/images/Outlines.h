// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "images/FootprintFile.h"

#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/Surface.h>

#include <optional>
#include <vector>

namespace tool {

/// Image positions along the outer edges of a band's pixels, all around, with so many points to a side; the last one is
/// the first.
std::vector<geo::XYPoint> edgesOf(kes::Band const& band, int perSide);

/// The terrain, and the map on which its positions are stated.
struct Ground {
  kes::Surface surface;
  kes::CoordinateSystem map;
};

/// The footprint of a band along the outer edges of its pixels, with 64 points to a side. Points that have no place on
/// the elevation model are left out, of which standard error has the number; nothing when none is left.
std::optional<Footprint> footprintOf(kes::Strip const& strip, kes::Band const& band, Ground const& on);

/// The mean of the heights of points, of which there is one at least.
double meanHeight(std::vector<geo::XYZPoint> const& points);

/// Each `every`th line of a band, and the last one, on the ground; lines that the elevation model doesn't reach at two
/// points at least are left out.
std::vector<ImageLine> linesOf(kes::Strip const& strip, kes::Band const& band, Ground const& on, int every);

}  // namespace tool
