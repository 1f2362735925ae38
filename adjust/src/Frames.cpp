// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Frames.h"

#include <Eigen/LU>
#include <array>
#include <stdexcept>

namespace kesadjust {

RigidMotion rigidMotion(kes::CoordinateSystem const& from, kes::CoordinateSystem const& to) {
  constexpr double arm = 1e4;  // metres: rounding of a geocentric position turns it by 1e-13
  std::array<geo::XYZPoint, 4> points{{{0.0, 0.0, 0.0}, {arm, 0.0, 0.0}, {0.0, arm, 0.0}, {0.0, 0.0, arm}}};
  if (from.transform(to, points, points) != points.size()) {
    throw std::runtime_error("can't convert positions of a strip");
  }
  RigidMotion motion;
  motion.offset = vectorOf(points[0]);
  for (int axis = 0; axis < 3; ++axis) {
    motion.rotation.col(axis) = (vectorOf(points[static_cast<std::size_t>(axis) + 1]) - motion.offset) / arm;
  }
  return motion;
}

Neighbourhood neighbourhoodOf(kes::CoordinateSystem const& system, geo::XYZPoint const& position,
                              kes::CoordinateSystem const& local) {
  double const plan = 1.0 / system.horizontalUnit().metres;
  double const height = 1.0 / system.verticalUnit().metres;
  Eigen::Vector3d const step(plan, plan, height);
  std::array<geo::XYZPoint, 7> points;
  points.fill(position);
  for (int axis = 0; axis < 3; ++axis) {
    Eigen::Vector3d const d = step(axis) * Eigen::Vector3d::Unit(axis);
    points[static_cast<std::size_t>(2 * axis) + 1] = pointOf(vectorOf(position) + d);
    points[static_cast<std::size_t>(2 * axis) + 2] = pointOf(vectorOf(position) - d);
  }
  system.transform(local, points, points);
  Neighbourhood result;
  result.local = vectorOf(points[0]);
  for (int axis = 0; axis < 3; ++axis) {
    auto const first = static_cast<std::size_t>(2 * axis) + 1;
    result.toLocal.col(axis) = (vectorOf(points[first]) - vectorOf(points[first + 1])) / (2.0 * step(axis));
  }
  result.toSystem = result.toLocal.inverse();
  return result;
}

}  // namespace kesadjust
