// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <simulation/BlockPlan.h>
#include <simulation/Terrain.h>
#include <simulation/Truth.h>

#include <array>
#include <string_view>
#include <vector>

namespace simulation {

/// The bands in which tie points are measured: one line that looks ahead, one down and one back.
inline constexpr std::array<std::string_view, 3> tieBands{"PANF27A", "PANN00A", "PANB14A"};

/// Whether a strip has a point in the images of all `tieBands`.
bool hasRayTriple(kes::Strip const& strip, kes::CoordinateSystem const& map, geo::GroundPoint const& point,
                  double border);

/// Tie points of a block of strips that have their data loaded: places on the terrain, in the coordinates of a map, with
/// ids "T000001" and so on. Each strip's nadir line has `BlockPlan::ties` of them a second, at random samples, in the
/// images of all `tieBands` of this strip where its length allows it. Throws what the terrain throws.
std::vector<geo::GroundPoint> placeTiePoints(BlockPlan const& plan, Terrain const& terrain,
                                             std::vector<kes::Strip> const& strips, kes::CoordinateSystem const& map);

/// Measurements of tie points in an image of a strip.
struct TieMeasurements {
  std::size_t strip;
  kes::Band band;
  std::vector<geo::ImagePoint> points;
};

/// Leaves out the points that are in fewer than two images.
void dropSingleRays(std::vector<geo::GroundPoint>& points, std::vector<TieMeasurements>& images);

/// Makes a share (per cent) of measurements grossly wrong: each moves by 5 to 100 pixels in any direction, both
/// uniformly distributed, but not out of the image. Returns what was moved, for the strip `name`.
std::vector<Blunder> addBlunders(TieMeasurements& image, std::string const& name, double percent, Random random);

}  // namespace simulation
