// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/Plausibility.h"

#include "shared/Numbers.h"
#include "shared/Options.h"

#include <kes/Strip.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tool {

namespace {

constexpr double farAway = 100e3;  // metres
constexpr double foot = 0.3048;    // metres
constexpr double kilometre = 1e3;

/// The same numbers, taken for something else.
struct Reading {
  geo::XYZPoint position;
  kes::CoordinateSystem system;
  std::string question;
};

std::vector<Reading> otherReadings(geo::XYZPoint const& p, kes::CoordinateSystem const& system) {
  kes::CoordinateSystem const wgs84 = kes::CoordinateSystem::wgs84Degrees();
  std::string const swapped = isGeographic(system) ? "longitude and latitude" : "x and y";
  std::vector<Reading> readings{{{p.y, p.x, p.z}, system, "are " + swapped + " swapped?"}};
  if (isGeographic(system)) {
    readings.push_back({{p.x * degrees, p.y * degrees, p.z}, system, "are they radians?"});
    return readings;
  }
  readings.push_back({{p.x * foot, p.y * foot, p.z * foot}, system, "are they feet?"});
  readings.push_back({p, wgs84, "are they degrees? --crs EPSG:4979 takes longitude and latitude"});
  readings.push_back({{p.y, p.x, p.z},
                      wgs84,
                      "are they degrees, latitude first? --crs EPSG:4979 takes longitude and "
                      "latitude"});
  return readings;
}

}  // namespace

std::string doubtAbout(geo::XYZPoint const& position, kes::CoordinateSystem const& system, kes::Strip const& strip,
                       kes::Band const& band) {
  kes::ToGroundOptions toGround;
  toGround.heights = kes::ConstantHeight{strip.meanTerrainHeight()};
  geo::XYZPoint const middle = band.toGround({0.5 * band.samples(), 0.5 * band.lines()}, toGround).position;
  auto const distance = [&](geo::XYZPoint const& p, kes::CoordinateSystem const& s) {
    geo::XYZPoint local;
    s.transform(strip.localSystem(), {&p, 1}, {&local, 1});
    return std::hypot(local.x - middle.x, local.y - middle.y, local.z - middle.z);
  };
  double const away = distance(position, system);
  if (away <= farAway) {
    return {};
  }
  std::string const where =
      std::isfinite(away) ? "lies " + fixed(away / kilometre, 0) + " km from the strip" : "has no place near the strip";
  for (Reading const& reading : otherReadings(position, system)) {
    if (distance(reading.position, reading.system) <= farAway) {
      return where + ": " + reading.question;
    }
  }
  return std::isfinite(away) ? where : std::string();
}

}  // namespace tool
