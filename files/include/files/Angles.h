// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace files {

// Each product differs from the quotient by the other factor in the last bit.
inline constexpr double radiansPerDegree = 0.017453292519943295;
inline constexpr double degreesPerRadian = 57.29577951308232;

/// Files and users have angles in degrees, calculations in radians.
constexpr double toRadians(double degrees) {
  return degrees * radiansPerDegree;
}
constexpr double toDegrees(double radians) {
  return radians * degreesPerRadian;
}

}  // namespace files
