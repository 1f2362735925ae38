// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <util/Origin.h>
#include <util/kesplatform_export.h>

#include <string>

class QDomElement;

namespace geo {

class coordSys;

/// Makes coordinate systems. One factory serves the process; all operations may be called from any number of threads.
class KESPLATFORM_EXPORT coordSysFactory {
public:
  /// The factory of the process. Never delete it.
  static coordSysFactory* getInstance();
  coordSysFactory(coordSysFactory const&) = delete;
  coordSysFactory& operator=(coordSysFactory const&) = delete;

  /// The local space rectangular system at `anchor` (x longitude and y latitude on WGS 84 in radians, z ellipsoidal
  /// height in metres): the anchor is the origin, x points east, y north, z up along the ellipsoid's normal, in metres.
  /// The caller owns the new system.
  coordSys* createLSR84(XYZPoint const& anchor) const;

  /// The WGS 84 geographic system: longitude, latitude, ellipsoidal height in metres. Angles are in radians, or degrees
  /// with `degrees`; with `latitudeFirst` x is the latitude and y the longitude. Positions of all but other geographic
  /// systems come out with longitudes within half a turn of Greenwich.
  /// Makes a new system at each call. The caller may delete it; the factory frees at exit what nobody deleted.
  coordSys* createGEO84(bool degrees, bool latitudeFirst) const;

  /// The system of a `<CoordinateSystem>` element: the definition is its attribute `definition` or, without one, its
  /// text. The element is one out of a file (`util::Origin::file`). Throws as the form from a definition does. The
  /// caller owns the new system.
  coordSys* createCoordSys(QDomElement const& element) const;

  /// The system of a definition: whatever PROJ understands as a coordinate reference system, such as an authority's
  /// code ("EPSG:32633", "EPSG:32633+5773"), a PROJ string, WKT or PROJJSON. The caller owns the new system.
  ///
  /// - x is the easting or longitude and y the northing or latitude, whatever order the definition has its axes in; an
  ///   axis that is defined to point south or west keeps its sign. Units are the definition's (degrees: "EPSG:4326").
  /// - z of a system without a vertical part is the height above its own ellipsoid in metres. A vertical part is
  ///   honoured.
  /// - The way to WGS 84 is the most accurate one that PROJ has without a guess. It is an error if there is none: a
  ///   grid isn't installed (optional ones, "@name", count as one that may be any of them), or nothing relates the
  ///   datum to WGS 84 (a PROJ string with `+ellps` alone). Grids are never fetched from a network. Where several ways
  ///   serve parts of a datum's area, each position takes that of its part, as PROJ has it: at the edge of a part
  ///   there is a step as large as the ways differ.
  /// - The definitions that `coordSys::toXml` writes give those very systems back. A local system has the PROJ string
  ///   "+proj=topocentric +datum=WGS84 +lon_0=... +lat_0=... +h_0=... +type=crs" (degrees, or radians with an `r`
  ///   behind the number). A GEO84 has a WKT text that PROJ reads, too; its name has its order of axes kept.
  ///
  /// A definition out of a file is refused when it names other files by a path or through "init=", and when it is
  /// longer than 64 KiB. PROJ opens nothing for it but its own database and the grids in its own folders: where the
  /// database lies, those of PROJ_DATA and PROJ_LIB, and the one for grids that the user fetched.
  ///
  /// Throws std::runtime_error: "Can't create coordinate system \"<definition>\": " and the reason, which names the
  /// grid when one is missing.
  coordSys* createCoordSys(std::string const& definition, util::Origin origin = util::Origin::user) const;

private:
  coordSysFactory();
  ~coordSysFactory() = default;
};

}  // namespace geo
