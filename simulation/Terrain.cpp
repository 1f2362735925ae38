// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>
#include <simulation/Terrain.h>

#include <cmath>
#include <stdexcept>

namespace simulation {

// One unit of angle is a length along the equator; in a unit of length a turn is too long to matter.
Terrain::Terrain(std::string const& file)
    : mSource(file), mMiddle(position({0.5 * columns(), 0.5 * rows()})),
      mTurn(2.0 * 3.141592653589793 * 6378137.0 / mSource.coordSystem()->horizontalUnits().getScale()),
      mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)) {}

Terrain::~Terrain() = default;

geo::XYZPoint Terrain::position(geo::XYPoint const& cell) const {
  auto const& t = mSource.grid().geoTransform;
  return {t[0] + t[1] * cell.x + t[2] * cell.y, t[3] + t[4] * cell.x + t[5] * cell.y, 0.0};
}

geo::XYPoint Terrain::cell(geo::XYZPoint const& position) const {
  auto const& t = mSource.grid().geoTransform;
  double const determinant = t[1] * t[5] - t[2] * t[4];
  double const east = position.x - mMiddle.x;
  double const x = east - mTurn * std::round(east / mTurn) + (mMiddle.x - t[0]);
  double const y = position.y - t[3];
  return {(t[5] * x - t[2] * y) / determinant, (t[1] * y - t[4] * x) / determinant};
}

geo::XYZPoint Terrain::middle() const {
  geo::XYZPoint point = mMiddle;
  if (geo::coordSys::transform(mSource.coordSystem(), mGeographic.get(), point, point) != 0) {
    throw std::runtime_error("elevation model has no place on the ground: " + mSource.fileName());
  }
  return {point.x, point.y, 0.0};
}

std::optional<double> Terrain::height(geo::XYZPoint const& lonLat) const {
  geo::XYZPoint point(lonLat.x, lonLat.y, 0.0);
  float height = 0.0F;
  if (geo::coordSys::transform(mGeographic.get(), mSource.coordSystem(), point, point) != 0 ||
      !mSource.height(point, height)) {
    return std::nullopt;
  }
  point.z = static_cast<double>(height);
  if (geo::coordSys::transform(mSource.coordSystem(), mGeographic.get(), point, point) != 0) {
    return std::nullopt;
  }
  return point.z;
}

}  // namespace simulation
