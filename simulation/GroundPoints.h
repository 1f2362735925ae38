// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <simulation/BlockPlan.h>
#include <simulation/Terrain.h>
#include <simulation/Truth.h>

#include <cstdint>
#include <vector>

namespace simulation {

/// Standard deviation that ground points state for each coordinate, metres. They have no such error: they lie on the
/// terrain.
inline constexpr double groundPointAccuracy = 0.01;

/// Ground points all over a block of strips that have their data loaded, in the coordinates of a map, with ids "P001"
/// and so on and of type 0. Three of four lie where the images that look down of two strips or more have them, as far
/// as there is such ground, and all in one. Each is the farthest from those before of some random places. Throws
/// std::runtime_error "no terrain in the block's images for a ground point", and what the terrain throws.
std::vector<geo::GroundPoint> placeGroundPoints(BlockPlan const& plan, Terrain const& terrain,
                                                std::vector<kes::Strip> const& strips,
                                                kes::CoordinateSystem const& map);

/// Types of control and check points in the list of ground points.
inline constexpr std::int32_t controlType = 1;
inline constexpr std::int32_t checkType = 2;

/// Control points ("GCP001" and so on) and check points ("CHK001") of such a block: places on the terrain in all three
/// directions of view of a strip, as far as there are any. The first four control points lie as near the block's corners
/// as that allows, each other point is the farthest from those before of some random places. Their surveyed coordinates
/// have errors of the standard deviation that they state; one control point, any, is wrong by as much as the plan says,
/// in any direction. Throws as `placeGroundPoints`.
std::vector<SurveyedPoint> placeSurveyedPoints(BlockPlan const& plan, Terrain const& terrain,
                                               std::vector<kes::Strip> const& strips, kes::CoordinateSystem const& map);

}  // namespace simulation
