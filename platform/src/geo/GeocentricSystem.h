// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/coordSys.h>

#include <string>

namespace geo {

/// WGS 84 geocentric coordinates in metres.
class GeocentricSystem final : public coordSys {
public:
  /// `definition` is the text the system was asked for with.
  explicit GeocentricSystem(std::string definition);

  units const& verticalUnits() const override;
  units const& horizontalUnits() const override;
  QDomElement toXml(QDomDocument& document) const override;

private:
  void toGeodetic(XYZPoint* points, std::size_t n) const override;
  void fromGeodetic(XYZPoint* points, std::size_t n) const override;
  void toGeocentric(XYZPoint* points, std::size_t n) const override;
  void fromGeocentric(XYZPoint* points, std::size_t n) const override;
  bool hasStraightAxes() const override { return true; }

  std::string mDefinition;
};

}  // namespace geo
