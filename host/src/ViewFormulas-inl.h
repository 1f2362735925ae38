// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The formulae of a line camera, written once for single numbers and for lanes of them. This file is included within a
// namespace, in place of a guard: in ViewChain.h for double, and in LaneKernels.cpp for the vectors of each instruction
// set. Every operation rounds once, in the order that stands here, so that all of them return the same bits.
// `same(like, value)` is a constant as a number of the kind of `like`.

/// Half the squared length of a quaternion, and the products of its parts, of which the axes of a pose are sums. All
/// three axes have that half as their length, close to 0.5. Nothing that is computed from a pose depends on it, so that
/// a pose takes no division.
template <class Real>
struct Turn {
  Real half;
  Real q11, q22, q33;
  Real q01, q02, q03;
  Real q12, q13, q23;
};

/// At w, from 0 at the beginning of a record to 1 at its end.
template <class Record, class Real>
inline Turn<Real> turnOf(Record const& record, Real const& w) {
  Real const q0 = record.attitude.q0 + w * record.attitudeStep.q0;
  Real const q1 = record.attitude.q1 + w * record.attitudeStep.q1;
  Real const q2 = record.attitude.q2 + w * record.attitudeStep.q2;
  Real const q3 = record.attitude.q3 + w * record.attitudeStep.q3;
  Real const q11 = q1 * q1;
  Real const q22 = q2 * q2;
  Real const q33 = q3 * q3;
  return {
      same(w, 0.5) * (q0 * q0 + q11 + q22 + q33), q11, q22, q33, q0 * q1, q0 * q2, q0 * q3, q1 * q2, q1 * q3, q2 * q3};
}

/// The camera's x axis.
template <class Point, class Real>
inline Point alongOf(Turn<Real> const& t) {
  return {t.half - (t.q22 + t.q33), t.q12 - t.q03, t.q02 + t.q13};
}

/// Its y axis.
template <class Point, class Real>
inline Point acrossOf(Turn<Real> const& t) {
  return {t.q03 + t.q12, t.half - (t.q11 + t.q33), t.q23 - t.q01};
}

/// Its z axis.
template <class Point, class Real>
inline Point upOf(Turn<Real> const& t) {
  return {t.q13 - t.q02, t.q01 + t.q23, t.half - (t.q11 + t.q22)};
}

template <class Point, class Record, class Real>
inline Point centreOf(Record const& record, Real const& w) {
  return {record.position.x + w * record.positionStep.x, record.position.y + w * record.positionStep.y,
          record.position.z + w * record.positionStep.z};
}

template <class Record, class Real>
inline Real partOf(Record const& record, Real const& time) {
  return (time - record.start) * record.rate;
}

/// The direction of a focal position's ray; `x` includes the shift of the line correction.
template <class Point, class Pose, class Real>
inline Point rayOf(Pose const& pose, Real const& x, Real const& y, Real const& focalLength) {
  return {x * pose.along.x + y * pose.across.x - focalLength * pose.up.x,
          x * pose.along.y + y * pose.across.y - focalLength * pose.up.y,
          x * pose.along.z + y * pose.across.z - focalLength * pose.up.z};
}

template <class Point>
inline auto dot(Point const& a, Point const& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// A ground position in the focal plane by its components along the axes, and how far it lies against the direction of
/// view.
template <class Sight, class Real>
inline Sight sightOf(Real const& along, Real const& across, Real const& height, Real const& negativeFocalLength,
                     Real const& shift) {
  Real const m = negativeFocalLength / height;
  return {along * m - shift, across * m, height};
}
