// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <util/kesplatform_export.h>

#include <cstddef>
#include <string>
#include <vector>

class QDomDocument;
class QDomElement;

namespace geo {

class units;

/// How positions of a system are converted to WGS 84.
struct Conversion {
  std::string name;                ///< PROJ's; empty for closed formulae.
  std::string pipeline;            ///< PROJ's string of its steps; empty where PROJ has none.
  std::vector<std::string> grids;  ///< Files of the grids that it takes.
};

/// A coordinate system of positions on and around the Earth. The kinds, all made by `coordSysFactory`:
///
/// | kind | x | y | z | evaluation |
/// |---|---|---|---|---|
/// | LSR at an anchor | east, m | north, m | up, m; the anchor is the origin | closed formulae |
/// | GEO84 | longitude | latitude | height above the WGS 84 ellipsoid, m | closed formulae |
/// | geocentric WGS 84 (EPSG:4978) | m | m | m | closed formulae |
/// | any other CRS | easting or longitude | northing or latitude | height or depth, by its vertical part | PROJ |
///
/// Transformations meet in WGS 84: in geocentric coordinates between two systems with straight axes, and in longitude,
/// latitude and height otherwise, so that no position makes a detour over numbers of the size of the Earth's radius.
///
/// A system never changes. Any number of threads may transform with the same systems at the same time; whoever deletes
/// one sees to it that no thread is still at it.
class KESPLATFORM_EXPORT coordSys {
public:
  virtual ~coordSys();
  coordSys(coordSys const&) = delete;
  coordSys& operator=(coordSys const&) = delete;

  /// The unit of z. Lives as long as the system.
  virtual units const& verticalUnits() const = 0;
  /// The unit of x and y; of a geographic system, a unit of angle. Lives as long as the system.
  virtual units const& horizontalUnits() const = 0;
  /// The system as `<CoordinateSystem definition="..."/>`, an element of `document` that isn't inserted yet, from which
  /// `coordSysFactory::createCoordSys` makes an equal system.
  virtual QDomElement toXml(QDomDocument& document) const = 0;

  /// The definition by which `toXml` tells the system.
  std::string definition() const;

  /// Converts a position of the system `from` to the system `to`. `in` and `out` may be one object.
  /// Gives 0 when done. Otherwise (the position isn't finite, outside the domain of one of the systems, or outside a
  /// grid; or a system is null) gives another value, and all members of `out` are NaN. Throws nothing.
  static int transform(coordSys const* from, coordSys const* to, XYZPoint const& in, XYZPoint& out);
  /// The same for `n` positions at once, to the bit what the form for one gives for each. `in` and `out` may be one
  /// array; overlapping in any other way isn't allowed. Gives 0 when all are done; otherwise those that
  /// couldn't be done are NaN in `out`, and all the others are done.
  static int transform(coordSys const* from, coordSys const* to, XYZPoint const* in, XYZPoint* out, std::size_t n);

  /// How a position of this system is converted to WGS 84.
  virtual Conversion conversionAt(XYZPoint const& position) const;

  /// Converts a position of this system to WGS 84 geocentric coordinates (metres), with the status of `transform`.
  int geo_to_ecef(XYZPoint const& in, XYZPoint& out) const;

protected:
  coordSys();

private:
  // What a kind of system is made of. All convert n positions in their place. A position that came as NaN, or that
  // can't be converted, leaves with a member that isn't finite.
  // Geodetic: WGS 84 longitude and latitude in radians, ellipsoidal height in metres. Geocentric: WGS 84, metres.
  virtual void toGeodetic(XYZPoint* points, std::size_t n) const = 0;
  virtual void fromGeodetic(XYZPoint* points, std::size_t n) const = 0;
  virtual void toGeocentric(XYZPoint* points, std::size_t n) const;
  virtual void fromGeocentric(XYZPoint* points, std::size_t n) const;
  // Whether the axes are straight lines in space: the way to geocentric coordinates is a mere rotation and shift.
  virtual bool hasStraightAxes() const;
};

}  // namespace geo
