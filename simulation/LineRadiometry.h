// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/CameraHead.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace simulation {

/// How a sensor line and its electronics answer to light. What it says of a camera follows from the camera's samples
/// and the line's place in the head, so that cameras of one id are alike.
struct LineRadiometry {
  /// Points of a curve of non-linearity: digital numbers as they are and as they should be.
  using Curve = std::vector<std::pair<double, double>>;
  /// Of the sensor's 14 bits.
  static constexpr double greatestNumber = 16383.0;
  /// Most that a dark signal may be.
  static constexpr int greatestDark = 400;

  /// From digital numbers to radiance.
  double gain = 1.0;
  /// A row for each setting of the TDI, which sums 1, 2, 4, ... stages; of each pixel the response, as a factor.
  std::vector<std::vector<float>> prnu;
  /// Rows likewise; of each pixel the dark signal, in digital numbers.
  std::vector<std::vector<std::uint16_t>> dsnu;
  /// Of the two halves of the line, which are read out at its two ends.
  Curve left;
  Curve right;
};

/// The radiometry of the head's line number `index`. Lines of narrow bands, which see less light, have three settings
/// of the TDI, the others two.
LineRadiometry lineRadiometry(CameraHead const& head, std::size_t index);

}  // namespace simulation
