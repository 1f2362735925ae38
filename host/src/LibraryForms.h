// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Projection.h>
#include <kes/Surface.h>
#include <sensor/KESStripModel.h>

#include <optional>
#include <span>
#include <vector>

// The library's own forms of projection, to the bit, for any coordinate system and without a change of the strip.
namespace kes::detail {

/// The line of sight of an image position.
struct LibraryRay {
  sensor::KESStripModel const& strip;
  int band;
  geo::XYPoint image;
  std::optional<float> tdiStages;  ///< In place of the image's own.
};

/// `sensor::KESStripModel::imageToLsr`.
geo::XYZPoint libraryToLocal(LibraryRay const& ray, float height);

/// What `sensor::KESStripModel::imageToMap` returns at a height of a system that is the strip's mapping system.
geo::XYZPoint libraryToMap(LibraryRay const& ray, CoordinateSystem const& map, float height);

/// The position in the surface's own system of what the form on a surface returns from the mean terrain height on, to
/// 0.01 ground sampling distances of height; nothing where the surface has no height.
std::optional<geo::XYZPoint> libraryToSurface(LibraryRay const& ray, Surface const& surface);

/// `sensor::KESStripModel::lsrToImage` in one of its forms. The positions are finite; `ground` is filled up for the
/// lanes and cut again. `passes` may be empty; the form for single positions states those of each.
void libraryToImage(sensor::KESStripModel const& strip, int band, Solver form, std::vector<geo::XYZPoint>& ground,
                    std::vector<geo::XYPoint>& image, std::span<int> passes);

}  // namespace kes::detail
