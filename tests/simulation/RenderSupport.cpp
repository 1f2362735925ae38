// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/KESStripModel.h>
#include <simulation/Images.h>

#include <gdal_priv.h>

#include <cmath>
#include <stdexcept>

namespace test {

Image::Image(std::string const& file) {
  GDALAllRegister();
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (!data || data->GetRasterCount() != 1) {
    throw std::runtime_error("no image of one band: " + file);
  }
  width = data->GetRasterXSize();
  height = data->GetRasterYSize();
  GDALRasterBand* const band = data->GetRasterBand(1);
  isUnsigned16 = band->GetRasterDataType() == GDT_UInt16;
  band->GetBlockSize(&tileWidth, &tileHeight);
  char const* const name = data->GetMetadataItem("COMPRESSION", "IMAGE_STRUCTURE");
  compression = name == nullptr ? "" : name;
  int hasNoData = 0;
  double const value = band->GetNoDataValue(&hasNoData);
  if (hasNoData != 0) {
    noData = value;
  }
  pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  if (band->RasterIO(GF_Read, 0, 0, width, height, pixels.data(), width, height, GDT_UInt16, 0, 0) != CE_None) {
    throw std::runtime_error("can't read " + file);
  }
}

std::uint16_t Image::at(int sample, int line) const {
  return pixels.at(static_cast<std::size_t>(line) * static_cast<std::size_t>(width) + static_cast<std::size_t>(sample));
}

simulation::FlightPlan smallPlan() {
  simulation::FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.lines = 300;
  plan.samples = 500;
  return plan;
}

ElevationRaster walledGround() {
  ElevationRaster raster;
  raster.columns = 400;
  raster.rows = 400;
  raster.geoTransform = {500100.0, 1.0, 0.0, 5400000.0, 0.0, -1.0};
  raster.fill([](int, int row) { return row % 16 == 4 ? 320.0 : 300.0; });
  return raster;
}

simulation::FlightPlan planOverWall(std::string const& dem) {
  simulation::FlightPlan plan = smallPlan();
  plan.dem = dem;
  plan.height = 200.0;
  plan.heading = 0.0;
  return plan;
}

std::optional<double> gapOver(simulation::Terrain const& terrain, geo::coordSys const& local,
                              geo::XYZPoint const& position) {
  geo::XYZPoint place;
  float height = 0.0F;
  geo::coordSys::transform(&local, terrain.source().coordSystem(), position, place);
  bool const isThere = terrain.source().height(place, height);
  return isThere ? std::optional(place.z - static_cast<double>(height)) : std::nullopt;
}

std::optional<double> firstMeeting(Line const& line, geo::coordSys const& local, simulation::Terrain const& terrain,
                                   Search const& search) {
  auto const isBelow = [&](double z) { return gapOver(terrain, local, line(z)).value_or(1.0) <= 0.0; };
  int const steps = static_cast<int>(std::ceil((search.top - search.bottom) / search.step));
  int i = 0;
  while (i <= steps && !isBelow(search.top - i * search.step)) {
    ++i;
  }
  if (i == 0 || i > steps) {
    return std::nullopt;
  }
  double below = search.top - i * search.step;
  double above = below + search.step;
  for (int pass = 0; pass < 40; ++pass) {
    double const z = 0.5 * (above + below);
    (isBelow(z) ? below : above) = z;
  }
  // A line that comes under the surface from beside it doesn't meet it.
  return *gapOver(terrain, local, line(below)) > -1e-3 ? std::optional(below) : std::nullopt;
}

RenderedFlight::RenderedFlight(simulation::FlightPlan const& flightPlan, std::string const& name)
    : plan(flightPlan), folder(name), files(simulation::simulateFlight(plan, folder)),
      strip(simulation::trueStrip(plan, folder, files)), terrain(plan.dem),
      texture(simulation::makeTexture(plan, terrain)) {}

std::string RenderedFlight::imageName(std::string const& band) const {
  return strip.band(band).imagePath();
}

std::optional<geo::XYZPoint> RenderedFlight::ground(kes::Strip const& seenBy, geo::XYPoint const& pixel, int band,
                                                    Search const& search) const {
  // Through the positions at two heights: the sensor model takes heights as float.
  geo::XYZPoint a;
  geo::XYZPoint b;
  seenBy.model().imageToLsr(pixel, static_cast<float>(search.bottom), band, a);
  seenBy.model().imageToLsr(pixel, static_cast<float>(search.top), band, b);
  auto const position = [&](double z) {
    double const w = (z - a.z) / (b.z - a.z);
    return geo::XYZPoint(a.x + (b.x - a.x) * w, a.y + (b.y - a.y) * w, z);
  };
  auto const z = firstMeeting(position, strip.localSystem().platform(), terrain, search);
  return z ? std::optional(position(*z)) : std::nullopt;
}

double RenderedFlight::brightness(geo::XYZPoint const& ground) const {
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  geo::XYZPoint lonLat;
  geo::coordSys::transform(&strip.localSystem().platform(), geographic.get(), ground, lonLat);
  return texture->at(lonLat);
}

}  // namespace test
