// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The formulae of a line camera, written once for single numbers and for lanes of them. This file is included within a
// namespace, in place of a guard: in ViewChain.h for double, and in LaneKernels.cpp for the vectors of each instruction set. Every
// operation rounds once, in the order that stands here, so that all of them return the same bits. `same(like, value)` is a
// constant as a number of the kind of `like`.

/// The pose of a record at a time. The three axes have one length, close to a half: half that of the quaternion, squared. Nothing
/// that is computed from a pose depends on it, so that it takes no division.
template <class Pose, class Record, class Real>
inline Pose poseOf(Record const& record, Real const& time, Real const& shift) {
  Real const w = (time - record.start) * record.rate;
  Real const q0 = record.attitude.q0 + w * record.attitudeStep.q0;
  Real const q1 = record.attitude.q1 + w * record.attitudeStep.q1;
  Real const q2 = record.attitude.q2 + w * record.attitudeStep.q2;
  Real const q3 = record.attitude.q3 + w * record.attitudeStep.q3;
  Real const q11 = q1 * q1;
  Real const q22 = q2 * q2;
  Real const q33 = q3 * q3;
  Real const half = same(w, 0.5) * (q0 * q0 + q11 + q22 + q33);
  return {{half - (q22 + q33), q2 * q1 - q3 * q0, q2 * q0 + q3 * q1},
          {q3 * q0 + q2 * q1, half - (q11 + q33), q3 * q2 - q1 * q0},
          {q3 * q1 - q2 * q0, q1 * q0 + q3 * q2, half - (q11 + q22)},
          {record.position.x + w * record.positionStep.x, record.position.y + w * record.positionStep.y,
           record.position.z + w * record.positionStep.z},
          shift};
}

/// The direction of a focal position's ray; `x` includes the shift of the line correction.
template <class Point, class Pose, class Real>
inline Point rayOf(Pose const& pose, Real const& x, Real const& y, Real const& focalLength) {
  return {x * pose.along.x + y * pose.across.x - focalLength * pose.up.x,
          x * pose.along.y + y * pose.across.y - focalLength * pose.up.y,
          x * pose.along.z + y * pose.across.z - focalLength * pose.up.z};
}

/// A ground position in the focal plane, and how far it lies against the direction of view, in lengths of the axes.
template <class Projection, class Pose, class Point, class Real>
inline Projection projectionOf(Pose const& pose, Point const& ground, Real const& negativeFocalLength) {
  Real const dx = ground.x - pose.centre.x;
  Real const dy = ground.y - pose.centre.y;
  Real const dz = ground.z - pose.centre.z;
  Real const u = pose.along.x * dx + pose.along.y * dy + pose.along.z * dz;
  Real const v = pose.across.x * dx + pose.across.y * dy + pose.across.z * dz;
  Real const height = pose.up.x * dx + pose.up.y * dy + pose.up.z * dz;
  Real const m = negativeFocalLength / height;
  return {u * m - pose.shift, v * m, height};
}

/// How a value changes from one place to another, per unit of place.
template <class Real>
inline Real slopeOf(Real const& from, Real const& to, Real const& perPlace) {
  return (to - from) * perPlace;
}
