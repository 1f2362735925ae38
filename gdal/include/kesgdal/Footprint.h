// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <kesgdal/kesgdal_export.h>

#include <optional>

namespace kesgdal {

/// A box on the map.
struct Extent {
  geo::XYPoint low;
  geo::XYPoint high;
};

/// The least box of the map around what a band sees of a surface, by the outer edges of all lines and of the first and
/// the last one. Where a line of sight meets no surface, it counts with all heights that the surface has anywhere.
/// Nothing when all lies outside the surface. The box doesn't depend on the threads, from 1. Throws what the surface
/// throws when it can't be read.
[[nodiscard]] KESGDAL_EXPORT std::optional<Extent> footprint(kes::Band const& band, kes::CoordinateSystem const& map,
                                                             kes::Surface const& surface, int threads = 1);

/// The smallest box around both.
[[nodiscard]] KESGDAL_EXPORT Extent united(Extent const& a, Extent const& b);

}  // namespace kesgdal
