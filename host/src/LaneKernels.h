// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LaneTables.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Status.h>

#include <cstddef>
#include <cstdint>

// The precise projections of many points in the lanes of the processor's widest vectors. They return the bits of
// `LineSearch` and `ViewChain`, point by point, whatever the instruction set and the neighbours; what isn't simple they
// leave to those.
namespace kes::detail {

/// How many passes each position takes that the lanes find.
inline constexpr int passesInLanes = 3;

/// Image size and what statuses depend on.
struct PixelLimits {
  double samples;
  double lines;
};

/// Positions to find in the image, with room for the results. Positions may be anything.
struct LanesToImage {
  geo::XYZPoint const* ground;
  std::size_t count;
  geo::XYPoint* image;
  double* time;  ///< Since the chain's epoch.
  Status* status;
  std::uint32_t* rest;  ///< Room for `count` indices.
};

/// Finds positions in the image; returns how many it left, whose indices `rest` lists in ascending order. Their results
/// are undefined. The tables aren't empty.
std::size_t findInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run);

/// Image positions to project to heights of the local system.
struct LanesToGround {
  geo::XYPoint const* image;
  double const* heights;  ///< One for each position, or nothing.
  double height;          ///< Of all positions, where there is nothing.
  std::size_t count;
  geo::XYZPoint* ground;
  double* time;
  Status* status;
  std::uint32_t* rest;
};

/// Likewise, from the image to the ground.
std::size_t projectInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToGround const& run);

}  // namespace kes::detail
