// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

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

}  // namespace kes::detail
