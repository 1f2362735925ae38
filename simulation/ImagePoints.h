// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <geo/XYPoint.h>
#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <simulation/Random.h>

#include <optional>
#include <vector>

namespace simulation {

/// How far from an image's border points are measured, pixels: noise never carries them out.
double borderOf(double noise);

/// Where a ground point, with the coordinates of a map, is in an image, in samples and lines; nothing when that is
/// outside the image or nearer to its border than `border` pixels.
std::optional<geo::XYPoint> placeInImage(kes::Band const& band, kes::CoordinateSystem const& map,
                                         geo::GroundPoint const& point, double border);

/// Ground points of a block with the coordinates of its map, and what they lie on.
struct MappedPoints {
  kes::CoordinateSystem map;
  kes::Surface terrain;
  std::vector<geo::GroundPoint> const& points;
};

/// The measurements of ground points in an image of a strip with the orientation that the camera had: their places,
/// with errors of the standard deviation `noise` (pixels). Points that the terrain hides, by more than a pixel, aren't
/// measured. Throws what the terrain throws.
std::vector<geo::ImagePoint> measured(kes::Band const& band, MappedPoints const& ground, double noise, Random random);

}  // namespace simulation
