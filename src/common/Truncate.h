// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

namespace sensor {

/// `value` without its fraction. A value beyond the range of `Integer` becomes the nearest end of that range and NaN
/// becomes 0, where a plain cast would be undefined.
template <class Integer, class Real>
inline Integer truncated(Real value) {
  static_assert(std::is_integral_v<Integer> && std::is_floating_point_v<Real>);
  using Limits = std::numeric_limits<Integer>;
  // One above the largest number is a power of two, which both floating-point types hold exactly; the largest is not.
  constexpr Integer half = Limits::max() / 2 + 1;
  constexpr Real end = static_cast<Real>(half) * Real{2};
  if (value >= end) {
    return Limits::max();
  }
  if (value <= static_cast<Real>(Limits::min())) {
    return Limits::min();
  }
  return std::isnan(value) ? Integer{0} : static_cast<Integer>(value);
}

}  // namespace sensor
