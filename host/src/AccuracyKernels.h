// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "AccuracyTable.h"
#include "LaneKernels.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Accuracy.h>
#include <kes/Status.h>

#include <cstddef>
#include <cstdint>

namespace kes::detail {

/// Image positions and the ground positions, in the local system, that they see at heights. Positions may be anything.
struct LanesToErrors {
  geo::XYPoint const* image;
  geo::XYZPoint const* ground;
  std::size_t count;
  AccuracyTable const& accuracies;
  double epoch;  ///< GPS seconds.
  double imageSigma;
  double heightSigma;
  GroundErrors* errors;     ///< Or null.
  Covariance* covariances;  ///< Or null.
  Status* status;
  std::uint32_t* rest;  ///< Room for `count` indices.
};

/// Finds the errors of ground positions at heights of the local system in the lanes of the processor's widest vectors,
/// as `projectInLanes` projects to heights.
std::size_t findErrorsInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToErrors const& run);

}  // namespace kes::detail
