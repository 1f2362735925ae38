// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/Terrain.h>

#include <stdexcept>

namespace simulation {

Terrain::Terrain(std::string const& file, kes::Surface::VerticalDatum const& vertical)
    : mSurface(kes::Surface::raster(file, vertical)),
      mSource(dynamic_cast<dsm::RasterElevationSource const&>(mSurface.platform())),
      mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)) {}

Terrain::~Terrain() = default;

geo::XYZPoint Terrain::position(geo::XYPoint const& cell) const {
  auto const& t = mSource.grid().geoTransform;
  return {t[0] + t[1] * cell.x + t[2] * cell.y, t[3] + t[4] * cell.x + t[5] * cell.y, 0.0};
}

geo::XYZPoint Terrain::middle() const {
  geo::XYZPoint point = position({0.5 * columns(), 0.5 * rows()});
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
