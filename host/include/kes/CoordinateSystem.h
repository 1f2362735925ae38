// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/Status.h>
#include <kes/keshost_export.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace geo {
class coordSys;
}

namespace kes {

/// A unit of measure. The size of a unit of angle is its length along the equator of the ellipsoid.
struct Unit {
  std::string name;
  double metres;

  [[nodiscard]] bool operator==(Unit const&) const = default;
};

/// A position on the WGS 84 ellipsoid.
struct GeodeticPosition {
  double longitude;  ///< Radians.
  double latitude;   ///< Radians.
  double height;     ///< Metres above the ellipsoid.
};

/// A coordinate system of positions on the ground: a value that is cheap to copy, since copies share what never
/// changes. Any number of threads may use one.
///
/// x is the easting or longitude and y the northing or latitude, whatever order the definition has its axes in; z is a
/// height in the unit of the vertical part, without one in metres above the system's ellipsoid.
class KESHOST_EXPORT CoordinateSystem {
public:
  /// The system of a definition: whatever PROJ understands, such as "EPSG:32633", "EPSG:32633+5773", a PROJ string, WKT
  /// or PROJJSON, and what `definition` returns. Throws std::runtime_error "Can't create coordinate system
  /// \"<definition>\": " and the reason, which names a grid that isn't installed.
  explicit CoordinateSystem(std::string const& definition);

  /// Longitude, latitude on WGS 84, and the ellipsoidal height in metres.
  [[nodiscard]] static CoordinateSystem wgs84Degrees();
  [[nodiscard]] static CoordinateSystem wgs84Radians();
  /// The local space rectangular system at an anchor, its origin: x points east, y north, z up along the ellipsoid's
  /// normal; metres.
  [[nodiscard]] static CoordinateSystem local(GeodeticPosition const& anchor);
  /// A system of the platform, shared. Throws std::invalid_argument "a coordinate system is missing" on null.
  [[nodiscard]] static CoordinateSystem of(std::shared_ptr<geo::coordSys const> system);

  /// A text from which the constructor makes an equal system.
  [[nodiscard]] std::string const& definition() const;
  [[nodiscard]] Unit horizontalUnit() const;
  [[nodiscard]] Unit verticalUnit() const;
  /// The object of the platform, which lives as long as any copy of this.
  [[nodiscard]] geo::coordSys const& platform() const;

  /// Converts positions of this system to another one; `in` and `out` may be the same memory. Positions that can't be
  /// converted are NaN, with a status of `notTransformable` or `notFinite`; `status` may be empty. Returns how many
  /// have a result. Throws std::invalid_argument "spans differ in size".
  std::size_t transform(CoordinateSystem const& target, std::span<geo::XYZPoint const> in, std::span<geo::XYZPoint> out,
                        std::span<Status> status = {}) const;

  /// Equal definitions, or the very same object.
  [[nodiscard]] bool operator==(CoordinateSystem const& other) const;

private:
  struct Impl;
  explicit CoordinateSystem(std::shared_ptr<Impl const> impl);

  std::shared_ptr<Impl const> mImpl;
};

}  // namespace kes
