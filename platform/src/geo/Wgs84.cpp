// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Source: [Fukushima] T. Fukushima, Transformation from Cartesian to geodetic coordinates accelerated by Halley's
// method, Journal of Geodesy 79 (2006), pages 689-693.

#include "geo/Wgs84.h"

#include <algorithm>
#include <cmath>

namespace geo::wgs84 {
namespace {

constexpr double SEMI_MINOR_AXIS = SEMI_MAJOR_AXIS * (1.0 - FLATTENING);
/// e'_c = sqrt(1 - e²), which is 1 - f.
constexpr double AXIS_RATIO = 1.0 - FLATTENING;

/// The reduced latitude by its tangent s / c; any common factor of the two serves.
struct ReducedLatitude {
  double s = 0.0;
  double c = 0.0;
};

/// One step of Halley's method on the tangent of the reduced latitude, free of divisions and of trigonometric functions
/// ([Fukushima] equations 9 to 14). `p` and `z` are P and Z there: in units of a, z also times e'_c.
ReducedLatitude halleyStep(ReducedLatitude const& t, double p, double z) {
  double const a = std::sqrt(t.s * t.s + t.c * t.c);
  double const a3 = a * a * a;
  double const d = z * a3 + E2 * t.s * t.s * t.s;
  double const f = p * a3 - E2 * t.c * t.c * t.c;
  double const b = 1.5 * E2 * t.s * t.c * t.c * (a * (p * t.s - z * t.c) - E2 * t.s * t.c);
  ReducedLatitude const next{d * f - b * t.s, f * f - b * t.c};
  // Each step raises the numbers to their fifth power or so: without a common size the next one would overflow.
  double const size = std::max(std::fabs(next.s), std::fabs(next.c));
  return {next.s / size, next.c / size};
}

/// The reduced latitude of a point with z >= 0. The first step leaves 0.2 mm of latitude near the surface and 12 cm at
/// -5000 km, the second one less than the rounding of the arguments down to -6000 km.
ReducedLatitude reducedLatitude(double p, double z) {
  double const scaledP = p / SEMI_MAJOR_AXIS;
  double const scaledZ = AXIS_RATIO * z / SEMI_MAJOR_AXIS;
  ReducedLatitude const start{scaledZ, AXIS_RATIO * scaledP};
  ReducedLatitude const end = halleyStep(halleyStep(start, scaledP, scaledZ), scaledP, scaledZ);
  return {end.s, std::max(end.c, 0.0)};  // near the centre the steps may lead over a pole
}

}  // namespace

MeridianPosition meridianPosition(double p, double z) {
  if (p == 0.0) {  // on the axis, where at the centre the tangent would be 0 / 0
    return {std::copysign(0.5 * PI, z), std::fabs(z) - SEMI_MINOR_AXIS};
  }
  double const absZ = std::fabs(z);
  ReducedLatitude const beta = reducedLatitude(p, absZ);
  double const betaSize = std::sqrt(beta.s * beta.s + beta.c * beta.c);
  double const tangentBelow = AXIS_RATIO * beta.c;
  double const size = std::sqrt(beta.s * beta.s + tangentBelow * tangentBelow);
  // The height is the way from the foot point along the normal; as a difference of neighbours it loses no digit to the
  // Earth's radius.
  double const height = (p - SEMI_MAJOR_AXIS * (beta.c / betaSize)) * (tangentBelow / size) +
                        (absZ - SEMI_MINOR_AXIS * (beta.s / betaSize)) * (beta.s / size);
  return {std::copysign(std::atan2(beta.s, tangentBelow), z), height};
}

MeridianPosition moved(MeridianPosition const& position, double dP, double dZ) {
  double const sinLatitude = std::sin(position.latitude);
  double const cosLatitude = std::cos(position.latitude);
  double const w2 = 1.0 - E2 * sinLatitude * sinLatitude;
  double const m = SEMI_MAJOR_AXIS * (1.0 - E2) / (w2 * std::sqrt(w2));  // radius of curvature in the meridian
  // Near the Earth's centre the divisor may be anything, and the way lead over a pole.
  double const latitude = position.latitude + (cosLatitude * dZ - sinLatitude * dP) / (m + position.height);
  return {std::clamp(latitude, -0.5 * PI, 0.5 * PI), position.height + (cosLatitude * dP + sinLatitude * dZ)};
}

XYZPoint toGeocentric(XYZPoint const& geodetic) {
  double const sinLatitude = std::sin(geodetic.y);
  double const cosLatitude = std::cos(geodetic.y);
  double const n = SEMI_MAJOR_AXIS / std::sqrt(1.0 - E2 * sinLatitude * sinLatitude);
  double const p = (n + geodetic.z) * cosLatitude;
  return {p * std::cos(geodetic.x), p * std::sin(geodetic.x), (n * (1.0 - E2) + geodetic.z) * sinLatitude};
}

XYZPoint toGeodetic(XYZPoint const& geocentric) {
  double const p = std::sqrt(geocentric.x * geocentric.x + geocentric.y * geocentric.y);
  MeridianPosition const position = meridianPosition(p, geocentric.z);
  return {std::atan2(geocentric.y, geocentric.x), position.latitude, position.height};
}

double longitudeDifference(double longitude, double origin) {
  double const difference = longitude - origin;
  if (std::fabs(difference) <= PI) {
    return difference;
  }
  // Both subtractions are exact for neighbours on either side of the date line.
  double const halfTurn = std::copysign(PI, difference);
  return (longitude - halfTurn) - (origin + halfTurn) - std::copysign(2.0 * PI_REST, difference);
}

double longitudeSum(double origin, double difference) {
  double const sum = origin + difference;
  if (std::fabs(sum) <= PI) {
    return sum;
  }
  double const halfTurn = std::copysign(PI, sum);
  return ((origin - halfTurn) + difference - std::copysign(2.0 * PI_REST, sum)) - halfTurn;
}

}  // namespace geo::wgs84
