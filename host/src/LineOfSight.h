// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/Status.h>

namespace kes::detail {

/// A line of sight in a local system: from the eye down, one metre of z for each metre of depth.
struct LineOfSight {
  geo::XYZPoint eye;
  double dx;
  double dy;

  geo::XYZPoint at(double depth) const { return {eye.x + depth * dx, eye.y + depth * dy, eye.z - depth}; }
};

/// Where a line of sight ends, in another system; or why it doesn't.
struct SightEnd {
  double depth;
  geo::XYZPoint place;
  Status status;
};

}  // namespace kes::detail
