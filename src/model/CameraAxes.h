// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/EOP.h>

namespace sensor {

/// A direction in the local system.
template <class Real>
struct Direction {
  Real x;
  Real y;
  Real z;

  /// The component of a vector in this direction. The sum begins with y.
  Real component(Real dx, Real dy, Real dz) const { return y * dy + x * dx + z * dz; }
};

/// The axes of a camera in the local system: the columns of the rotation of camera rays into it. `Real` is double, or
/// lanes of single precision.
template <class Real>
struct CameraAxes {
  Direction<Real> alongFlight;  ///< Focal x.
  Direction<Real> alongLine;    ///< Focal y.
  Direction<Real> up;           ///< Against the view, in which focal positions have -f.
};

/// The axes of the camera with the attitude of a quaternion. One that interpolation has left a little short isn't
/// normalised. (The columns of the transpose of the matrix from the ground to the camera; K. Kraus, Photogrammetry, in
/// quaternion form.)
template <class Real>
inline CameraAxes<Real> axesOfQuaternion(Real q0, Real q1, Real q2, Real q3, Real one, Real two) {
  return {{one - two * (q2 * q2 + q3 * q3), two * (q2 * q1 - q3 * q0), two * (q2 * q0 + q3 * q1)},
          {two * (q3 * q0 + q2 * q1), one - two * (q1 * q1 + q3 * q3), two * (q3 * q2 - q1 * q0)},
          {two * (q3 * q1 - q2 * q0), two * (q1 * q0 + q3 * q2), one - two * (q1 * q1 + q2 * q2)}};
}

/// The axes for the orientation of a record, whose float components are widened first.
inline CameraAxes<double> quaternionToRotation(EOP const& eop) {
  return axesOfQuaternion(static_cast<double>(eop.q0), static_cast<double>(eop.q1), static_cast<double>(eop.q2),
                          static_cast<double>(eop.q3), 1.0, 2.0);
}

}  // namespace sensor
