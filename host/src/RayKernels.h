// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LaneKernels.h"
#include "LineOfSight.h"

#include <geo/XYPoint.h>
#include <kes/Status.h>

#include <cstddef>
#include <cstdint>

namespace kes::detail {

/// Image positions whose lines of sight are wanted. Positions may be anything.
struct LanesToRays {
  geo::XYPoint const* image;
  std::size_t count;
  LineOfSight* lines;
  double* time;         ///< Since the chain's epoch.
  Status* status;       ///< Of a position that has a result.
  std::uint32_t* rest;  ///< Room for `count` indices.
};

/// Finds lines of sight in the lanes of the processor's widest vectors, as `projectInLanes` projects to heights.
std::size_t findRaysInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run);

}  // namespace kes::detail
