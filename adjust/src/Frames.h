// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>

#include <Eigen/Core>

namespace kesadjust {

using Matrix2x3 = Eigen::Matrix<double, 2, 3, Eigen::RowMajor>;

inline Eigen::Vector3d vectorOf(geo::XYZPoint const& p) {
  return {p.x, p.y, p.z};
}
inline geo::XYZPoint pointOf(Eigen::Vector3d const& v) {
  return {v.x(), v.y(), v.z()};
}

/// [v]x, the matrix of the cross product.
inline Eigen::Matrix3d crossMatrix(Eigen::Vector3d const& v) {
  Eigen::Matrix3d matrix;
  matrix << 0.0, -v.z(), v.y(), v.z(), 0.0, -v.x(), -v.y(), v.x(), 0.0;
  return matrix;
}

/// The right Jacobian of SO(3), to the second order of the rotation vector: Exp(v + d) = Exp(v) Exp(J d).
inline Eigen::Matrix3d rightJacobian(Eigen::Vector3d const& v) {
  Eigen::Matrix3d const cross = crossMatrix(v);
  return Eigen::Matrix3d::Identity() - 0.5 * cross + cross * cross / 6.0;
}

/// Between two local systems: to = rotation from + offset.
struct RigidMotion {
  Eigen::Matrix3d rotation;
  Eigen::Vector3d offset;
  Eigen::Vector3d operator()(Eigen::Vector3d const& from) const { return rotation * from + offset; }
};

/// Throws std::runtime_error "can't convert positions of a strip".
RigidMotion rigidMotion(kes::CoordinateSystem const& from, kes::CoordinateSystem const& to);

/// The neighbourhood of a position in another system: a difference d there is `toLocal` d in the local system.
struct Neighbourhood {
  Eigen::Vector3d local;
  Eigen::Matrix3d toLocal;   ///< Metres for each unit of the other system.
  Eigen::Matrix3d toSystem;  ///< Its inverse.
  /// Metres in a unit of the other system's axes.
  Eigen::Vector3d metres() const { return toLocal.colwise().norm(); }
};

/// Has values that aren't finite where the position can't be converted.
Neighbourhood neighbourhoodOf(kes::CoordinateSystem const& system, geo::XYZPoint const& position,
                              kes::CoordinateSystem const& local);

}  // namespace kesadjust
