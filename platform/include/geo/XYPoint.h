// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace geo {

/// A position in a plane. Image positions have the sample in x and the line in y, both counted from 0; focal-plane
/// positions have x along the flight and y along the sensor line, in metres.
struct XYPoint {
  double x = 0.0;
  double y = 0.0;

  constexpr XYPoint() = default;
  constexpr XYPoint(double xValue, double yValue) : x(xValue), y(yValue) {}
};

}  // namespace geo
