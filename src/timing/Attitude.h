// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

// The attitude of a camera as a quaternion (scalar first) and as the photogrammetric angles omega, phi, kappa
// (radians). The quaternion belongs to the rotation from the ground to the camera, Rkappa Rphi Romega, whose elementary
// rotations turn the axes and not the point; hence the negative half angles. K. Kraus, Photogrammetry, appendix on
// rotations in space.

#include <sensor/EOP.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace sensor {

namespace attitude {

/// Sine and cosine of a half angle, in single precision.
struct HalfAngle {
  float s;
  float c;
};

inline HalfAngle halfAngle(float angle) {
  float const half = -angle / 2.0F;
  return {std::sin(half), std::cos(half)};
}

/// The same of an angle in double precision: only the sine and the cosine are rounded.
inline HalfAngle halfAngle(double angle) {
  double const half = -angle / 2.0;
  return {static_cast<float>(std::sin(half)), static_cast<float>(std::cos(half))};
}

inline void quaternionOfHalfAngles(HalfAngle const& a, HalfAngle const& b, HalfAngle const& c, EOP& eop) {
  eop.q0 = a.c * b.c * c.c + a.s * b.s * c.s;
  eop.q1 = a.s * b.c * c.c - a.c * b.s * c.s;
  eop.q2 = a.c * b.s * c.c + a.s * b.c * c.s;
  eop.q3 = a.c * b.c * c.s - a.s * b.s * c.c;
}

}  // namespace attitude

/// Sets the quaternion of `eop` from angles. `Angle` is float or double: with double angles, halves, sines and cosines
/// are formed in double, and the products in single precision all the same.
template <class Angle>
inline void opkToQuaternion(Angle omega, Angle phi, Angle kappa, EOP& eop) {
  attitude::quaternionOfHalfAngles(attitude::halfAngle(omega), attitude::halfAngle(phi), attitude::halfAngle(kappa),
                                   eop);
}

/// Sets the quaternion of a camera that looks straight down with a heading kappa: what `opkToQuaternion` makes of the
/// doubles 0, 0 and kappa.
inline void kappaToQuaternion(double kappa, EOP& eop) {
  // Half of minus 0 is -0, and so is its sine.
  constexpr attitude::HalfAngle level{-0.0F, 1.0F};
  attitude::quaternionOfHalfAngles(level, level, attitude::halfAngle(kappa), eop);
}

/// The last of the angles of the quaternion of `eop`.
inline float kappaOf(EOP const& eop) {
  return -std::atan2(2.0F * (eop.q3 * eop.q0 + eop.q1 * eop.q2), 1.0F - 2.0F * (eop.q2 * eop.q2 + eop.q3 * eop.q3));
}

/// The angles of the quaternion of `eop`. Rounding may carry the sine of phi beyond 1, which counts as 1.
inline void quaternionToOpk(EOP const& eop, float& omega, float& phi, float& kappa) {
  float const q0 = eop.q0;
  float const q1 = eop.q1;
  float const q2 = eop.q2;
  float const q3 = eop.q3;
  omega = -std::atan2(2.0F * (q1 * q0 + q2 * q3), 1.0F - 2.0F * (q1 * q1 + q2 * q2));
  phi = -std::asin(std::clamp(2.0F * (q0 * q2 - q1 * q3), -1.0F, 1.0F));
  kappa = kappaOf(eop);
}

/// The record between `a` (at w = 0) and `b` (at w = 1): time and position in double, the quaternion's components in
/// single precision and without a new normalisation. The nearer record decides the status.
inline void interpolateEOP(float w, EOP const& a, EOP const& b, EOP& out) {
  auto const wide = static_cast<double>(w);
  // Picked from a table: which record is nearer can't be predicted, so a branch would be slow.
  std::array<float, 2> const status{a.status, b.status};
  out = {a.gpsTime + (b.gpsTime - a.gpsTime) * wide,
         status[w >= 0.5F ? 1 : 0],
         a.q0 + (b.q0 - a.q0) * w,
         a.q1 + (b.q1 - a.q1) * w,
         a.q2 + (b.q2 - a.q2) * w,
         a.q3 + (b.q3 - a.q3) * w,
         a.x + (b.x - a.x) * wide,
         a.y + (b.y - a.y) * wide,
         a.z + (b.z - a.z) * wide};
}

/// The dot product of two attitudes; negative when they lie on opposite sides, as q and -q, which turn alike, do.
inline float dotProduct(EOP const& a, EOP const& b) {
  return a.q0 * b.q0 + a.q1 * b.q1 + a.q2 * b.q2 + a.q3 * b.q3;
}

/// Changes the sign of the quaternion, which leaves the attitude as it is.
inline void negateQuaternion(EOP& eop) {
  eop.q0 = -eop.q0;
  eop.q1 = -eop.q1;
  eop.q2 = -eop.q2;
  eop.q3 = -eop.q3;
}

}  // namespace sensor
