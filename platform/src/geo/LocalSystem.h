// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/coordSys.h>

#include <optional>
#include <string>
#include <string_view>

namespace geo {

/// The east-north-up frame at an anchor on WGS 84, in metres.
///
/// Positions in geodetic coordinates are reached by their differences to the anchor's, never over geocentric
/// coordinates: there a double at the Earth's surface has steps of a nanometre, and each operation would add its own
/// rounding. What is left is the rounding of longitude and latitude themselves.
class LocalSystem final : public coordSys {
public:
  /// `anchor`: longitude, latitude (radians), ellipsoidal height (metres).
  explicit LocalSystem(XYZPoint const& anchor);

  /// The anchor that `definition` tells when it is the PROJ string of a local system ("+proj=topocentric" on WGS 84);
  /// no value when it is anything else.
  static std::optional<XYZPoint> anchorOf(std::string_view definition);

  units const& verticalUnits() const override;
  units const& horizontalUnits() const override;
  QDomElement toXml(QDomDocument& document) const override;

private:
  void toGeodetic(XYZPoint* points, std::size_t n) const override;
  void fromGeodetic(XYZPoint* points, std::size_t n) const override;
  void toGeocentric(XYZPoint* points, std::size_t n) const override;
  void fromGeocentric(XYZPoint* points, std::size_t n) const override;
  bool hasStraightAxes() const override { return true; }

  /// A position by its differences to the anchor.
  struct Offset {
    double longitude;
    double latitude;
    double height;
  };
  XYZPoint localOf(Offset const& offset) const;
  XYZPoint geodeticOf(XYZPoint const& local) const;

  XYZPoint mAnchor;
  double mLongitude;  // the anchor's, within half a turn of Greenwich
  double mSinLongitude;
  double mCosLongitude;
  double mSinLatitude;
  double mCosLatitude;
  double mW;         // sqrt(1 - e² sin² latitude)
  double mN;         // radius of curvature in the prime vertical, metres
  XYZPoint mOrigin;  // the anchor in geocentric coordinates
};

}  // namespace geo
