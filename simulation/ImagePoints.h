// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <geo/XYPoint.h>
#include <simulation/Random.h>
#include <simulation/Terrain.h>

#include <optional>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// How far from an image's border points are measured, pixels: noise never carries them out.
double borderOf(double noise);

/// Where the sensor model has a ground point in an image, in samples and lines; nothing when that is outside the image
/// or nearer to its border than `border` pixels. Coordinates are those of the strip's mapping system.
std::optional<geo::XYPoint> placeInImage(sensor::KESStripModel const& strip, int band, geo::GroundPoint const& point,
                                         double border);

/// The measurements of ground points in an image of a strip that has its data loaded, with the orientation that the
/// camera had: where the sensor model has each, with errors of the standard deviation `noise` (pixels). Points that the
/// terrain hides, by more than a pixel, aren't measured. Throws what the terrain throws.
std::vector<geo::ImagePoint> measured(sensor::KESStripModel const& strip, int band, Terrain const& terrain,
                                      std::vector<geo::GroundPoint> const& points, double noise, Random random);

}  // namespace simulation
