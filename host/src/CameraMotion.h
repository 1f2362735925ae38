// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ViewChain.h"

#include <geo/XYZPoint.h>

#include <cmath>
#include <cstddef>

// The camera at a line and how it moves there, which the partial derivatives and the accuracy of ground positions
// share.
namespace kes::detail {

using Vector = geo::XYZPoint;

inline Vector operator+(Vector const& a, Vector const& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(Vector const& a, Vector const& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(double factor, Vector const& v) {
  return {factor * v.x, factor * v.y, factor * v.z};
}
inline Vector cross(Vector const& a, Vector const& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// A place in a band's tables of lines and orientation.
struct Moment {
  std::size_t interval;    ///< Of the lines.
  double lines;            ///< After that interval's beginning.
  double time;             ///< Since the chain's epoch.
  std::size_t record;      ///< The interval of the orientation.
  double part;             ///< Of the orientation's interval.
  Quaternion attitude;     ///< Of any length.
  geo::XYZPoint position;  ///< In the local system.
};

/// Of a line of the table, `later` seconds after its own time.
inline Moment momentOf(ViewChain const& chain, double line, double later = 0.0) {
  Moment moment;
  moment.interval = chain.lines().intervalOf(line);
  moment.lines = line - chain.lines().lineOf(moment.interval);
  LineTable::Interval const& interval = chain.lines()[moment.interval];
  moment.time = interval.time + interval.timeStep * moment.lines + later;
  moment.record = chain.orientation().find(moment.time, chain.lines().record(moment.interval));
  OrientationTable::Interval const& record = chain.orientation()[moment.record];
  double const w = moment.part = partOf(record, moment.time);
  moment.attitude = {record.attitude.q0 + w * record.attitudeStep.q0, record.attitude.q1 + w * record.attitudeStep.q1,
                     record.attitude.q2 + w * record.attitudeStep.q2, record.attitude.q3 + w * record.attitudeStep.q3};
  moment.position = centreOf<geo::XYZPoint>(record, w);
  return moment;
}

inline double squaredLength(Quaternion const& q) {
  return q.q0 * q.q0 + q.q1 * q.q1 + q.q2 * q.q2 + q.q3 * q.q3;
}

/// The rotation from the camera into the local system by its columns, the camera's axes with a length of 1.
struct CameraAxes {
  Vector along;
  Vector across;
  Vector up;

  Vector toLocal(Vector const& v) const { return v.x * along + v.y * across + v.z * up; }
  Vector toCamera(Vector const& v) const { return {dot(along, v), dot(across, v), dot(up, v)}; }
};

inline CameraAxes axesOf(Turn<double> const& turn) {
  double const perLength = 1.0 / turn.half;
  return {perLength * alongOf<Vector>(turn), perLength * acrossOf<Vector>(turn), perLength * upOf<Vector>(turn)};
}

/// The rotation vector, about the camera's axes, of a small step of its quaternion. (The derivative of a quaternion q
/// that turns the ground into the camera is -(0, w) q / 2 for an angular velocity w of the camera; the length of q
/// cancels out.)
inline Vector turnOfStep(Quaternion const& q, Quaternion const& step) {
  Vector const v(q.q1, q.q2, q.q3);
  Vector const dv(step.q1, step.q2, step.q3);
  return 2.0 / squaredLength(q) * (step.q0 * v - q.q0 * dv + cross(dv, v));
}

}  // namespace kes::detail
