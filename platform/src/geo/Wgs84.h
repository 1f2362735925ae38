// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

// The WGS 84 ellipsoid (NIMA TR8350.2, third edition, section 3.2) and the conversions between its geodetic and its
// geocentric coordinates. Geodetic positions have longitude and latitude in radians and the ellipsoidal height in
// metres in x, y and z.
namespace geo::wgs84 {

/// Semi-major axis a in metres, and flattening f.
inline constexpr double SEMI_MAJOR_AXIS = 6378137.0;
inline constexpr double FLATTENING = 1.0 / 298.257223563;
/// First eccentricity squared, e² = f (2 - f).
inline constexpr double E2 = FLATTENING * (2.0 - FLATTENING);

inline constexpr double PI = 3.14159265358979323846;
/// What has to be added to PI to be half a turn to 32 digits.
inline constexpr double PI_REST = 1.2246467991473532e-16;
inline constexpr double RADIANS_PER_DEGREE = PI / 180.0;

/// Latitude and height of a point in the plane of its meridian.
struct MeridianPosition {
  double latitude = 0.0;
  double height = 0.0;
};

/// Latitude in -π/2 to π/2 and height of the point at the distance `p` from the axis (not negative) and `z` above the
/// plane of the equator, to the rounding of its arguments for heights of -6000 km and above. Deeper, and within 43 km
/// of the centre, where several latitudes serve one point, the result is finite. The centre is below the north pole.
MeridianPosition meridianPosition(double p, double z);

/// `position` moved by a few metres at most, `dP` away from the axis and `dZ` northwards along it. Near the
/// Earth's centre, where the way has no one latitude, it ends at a pole.
MeridianPosition moved(MeridianPosition const& position, double dP, double dZ);

XYZPoint toGeocentric(XYZPoint const& geodetic);
/// Longitude in -π to π; on the axis it is 0 or π, by the sign of x.
XYZPoint toGeodetic(XYZPoint const& geocentric);

/// `longitude` - `origin` within half a turn for longitudes within half a turn of Greenwich. Exact where the two are
/// near each other, across the date line, too.
double longitudeDifference(double longitude, double origin);
/// `origin` + `difference` within half a turn of Greenwich, for arguments within half a turn.
double longitudeSum(double origin, double difference);

}  // namespace geo::wgs84
