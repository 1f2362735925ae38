// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Trajectory.h>

#include <Eigen/Geometry>

namespace tool {

/// The rotation of the ground into the camera.
inline Eigen::Quaterniond quaternionOf(kes::TrajectoryPoint const& point) {
  return Eigen::Quaterniond(static_cast<double>(point.quaternion.q0), static_cast<double>(point.quaternion.q1),
                            static_cast<double>(point.quaternion.q2), static_cast<double>(point.quaternion.q3))
      .normalized();
}

/// The axis of a rotation, as long as its angle (radians) is large.
inline Eigen::Vector3d rotationVector(Eigen::Quaterniond const& rotation) {
  Eigen::AngleAxisd const turn(rotation.w() < 0.0 ? Eigen::Quaterniond(-rotation.coeffs()) : rotation);
  return turn.angle() * turn.axis();
}

}  // namespace tool
