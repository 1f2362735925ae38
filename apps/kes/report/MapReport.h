// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <optional>

namespace kes {
class Band;
class Strip;
}  // namespace kes

namespace tool {

/// Places what a report shows on a map.
class MapProjection {
public:
  /// Where lines of sight end without an elevation model: at the mean terrain height of their strip.
  MapProjection(kes::CoordinateSystem const& map, std::optional<kes::Surface> surface)
      : mMap(map), mSurface(std::move(surface)) {}

  kes::CoordinateSystem const& map() const { return mMap; }
  /// Adds the outline of the outer edges of a band's pixels.
  void addOutline(BandReport& report, kes::Strip const& strip, kes::Band const& band) const;
  /// The places of the camera during the flight.
  std::vector<geo::XYPoint> flightLine(kes::Strip const& strip) const;
  /// The place of a ground point; NaN where there is none.
  geo::XYPoint place(kes::CoordinateSystem const& system, geo::XYZPoint const& position) const;
  /// The frame of the map around all that is on it, with a margin, and the relief below.
  void finish(MapReport& map, std::vector<StripReport> const& strips) const;

private:
  ReliefGrid reliefOf(MapExtent const& extent) const;

  kes::CoordinateSystem mMap;
  std::optional<kes::Surface> mSurface;
};

/// The zone of UTM around a place, or the polar system beyond its zones; WGS 84.
kes::CoordinateSystem utmAround(kes::GeodeticPosition const& place);

}  // namespace tool
