// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/EOP.h>

#include <array>

namespace sensor {

/// The rotation of camera rays into the local system, by rows.
using RotationMatrix = std::array<double, 9>;

/// The rotation matrix of the quaternion of a record. The float components are widened first; a quaternion that
/// interpolation has left a little short isn't normalised. (The transpose of the matrix from the ground to the camera;
/// K. Kraus, Photogrammetry, in quaternion form.)
inline RotationMatrix quaternionToRotation(EOP const& eop) {
  auto const q0 = static_cast<double>(eop.q0);
  auto const q1 = static_cast<double>(eop.q1);
  auto const q2 = static_cast<double>(eop.q2);
  auto const q3 = static_cast<double>(eop.q3);
  return {1.0 - 2.0 * (q2 * q2 + q3 * q3), 2.0 * (q3 * q0 + q2 * q1),       2.0 * (q3 * q1 - q2 * q0),
          2.0 * (q2 * q1 - q3 * q0),       1.0 - 2.0 * (q1 * q1 + q3 * q3), 2.0 * (q1 * q0 + q3 * q2),
          2.0 * (q2 * q0 + q3 * q1),       2.0 * (q3 * q2 - q1 * q0),       1.0 - 2.0 * (q1 * q1 + q2 * q2)};
}

}  // namespace sensor
