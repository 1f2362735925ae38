// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace geo {

/// A position in space; which axes and units its members have is told by its coordinate system.
struct XYZPoint {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr XYZPoint() = default;
  constexpr XYZPoint(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}
};

}  // namespace geo
