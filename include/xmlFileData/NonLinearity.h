// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/LookUp.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace xmlFileData {

/// The correction of the non-linearity of some columns of a line, as a radiometry takes it.
struct KESSENSOR_EXPORT NonLinearity {
  /// Nothing.
  NonLinearity() = default;
  /// The columns and points of a curve.
  explicit NonLinearity(LookUp const& lookUp);
  /// The points (from[k], to[k]). Throws std::runtime_error "Internal error. Bad non linear correction format." where
  /// the vectors differ in length.
  NonLinearity(std::int32_t start, std::int32_t columns, std::vector<double> const& from,
               std::vector<double> const& to);

  std::int32_t columnStart = 0;
  std::int32_t columnEnd = 0;  ///< After the last column; the largest number where that is beyond 32 bits.
  std::vector<std::pair<double, double>> points;
};

}  // namespace xmlFileData
