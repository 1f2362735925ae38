// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace test {

namespace {

constexpr double flyingHeight = 1000.0;
constexpr double focalPixels = 500.0;  // the focal length in pixels
constexpr int samples = 101;

GDALDriver& tiffDriver() {
  GDALAllRegister();
  return *GetGDALDriverManager()->GetDriverByName("GTiff");
}

}  // namespace

Raster::Raster(std::string const& file) {
  GDALAllRegister();
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (!data) {
    throw std::runtime_error("no raster: " + file);
  }
  columns = data->GetRasterXSize();
  rows = data->GetRasterYSize();
  bands = data->GetRasterCount();
  data->GetGeoTransform(geoTransform.data());
  if (OGRSpatialReference const* const system = data->GetSpatialRef()) {
    char const* const code = system->GetAuthorityCode(nullptr);
    epsg = code == nullptr ? 0 : std::atoi(code);
  }
  char const* const text = data->GetMetadataItem("LAYOUT", "IMAGE_STRUCTURE");
  layout = text == nullptr ? "" : text;
  for (int i = 1; i <= bands; ++i) {
    GDALRasterBand& band = *data->GetRasterBand(i);
    type = band.GetRasterDataType();
    descriptions.emplace_back(band.GetDescription());
    int isThere = 0;
    double const value = band.GetNoDataValue(&isThere);
    noData = isThere != 0 ? std::optional(value) : std::nullopt;
  }
  pixels.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * static_cast<std::size_t>(bands));
  if (data->RasterIO(GF_Read, 0, 0, columns, rows, pixels.data(), columns, rows, GDT_Float64, bands, nullptr, 0, 0, 0,
                     nullptr) != CE_None) {
    throw std::runtime_error("can't read " + file);
  }
}

double Raster::at(int column, int row, int band) const {
  auto const index =
      (static_cast<std::size_t>(band - 1) * static_cast<std::size_t>(rows) + static_cast<std::size_t>(row)) *
          static_cast<std::size_t>(columns) +
      static_cast<std::size_t>(column);
  return pixels.at(index);
}

geo::XYPoint Raster::centre(int column, int row) const {
  return {geoTransform[0] + geoTransform[1] * (column + 0.5), geoTransform[3] + geoTransform[5] * (row + 0.5)};
}

OrthoFlight::OrthoFlight(FlightSetup const& flightSetup) : setup(flightSetup), map(flightSetup.system) {
  double const focalX = setup.look * SmallStrip::focalLength * 1000.0;
  small.sensorId = "T" + std::to_string(static_cast<int>(focalX));  // cameras stay in the process
  small.bands.clear();
  for (std::string const& id : setup.bands) {
    small.bands.push_back(SmallBand{.id = id, .x = focalX});
    small.sensorId += id;
  }
  small.direction = setup.direction;
  small.lines = setup.lines;
  small.anchorLongitude = setup.longitude;
  strip.emplace(small.write(folder), opening());
  geo::XYPoint const origin = mapOf({0.0, 0.0, 0.0});
  relief.columns = 250;
  relief.rows = 200;
  relief.system = setup.system;
  relief.geoTransform = {std::floor(origin.x) - 500.0, 4.0, 0.0, std::floor(origin.y) + 500.0, 0.0, -5.0};
  relief.fill([](int column, int row) { return 500.0 + 30.0 * std::sin(column / 15.0) * std::cos(row / 9.0); });
  openTerrain();
}

kes::StripOptions OrthoFlight::opening() const {
  kes::StripOptions options;
  options.calibrations = {folder / "calibration"};
  return options;
}

void OrthoFlight::openTerrain() {
  terrain = kes::Surface::raster(relief.write(folder));
}

void OrthoFlight::cutTerrain() const {
  std::filesystem::resize_file(terrain->fileName(), 1000);
}

void OrthoFlight::writeImage(std::string const& bandId, Brightness const& brightness, GDALDataType type,
                             std::optional<double> noData) const {
  GDALDatasetUniquePtr const data(
      tiffDriver().Create(imageName(bandId).c_str(), samples, small.lines, 1, type, nullptr));
  GDALRasterBand& band = *data->GetRasterBand(1);
  if (noData) {
    band.SetNoDataValue(*noData);
  }
  std::vector<double> row(samples);
  for (int line = 0; line < small.lines; ++line) {
    for (int sample = 0; sample < samples; ++sample) {
      row[static_cast<std::size_t>(sample)] = brightness(sample, line);
    }
    ASSERT_EQ(band.RasterIO(GF_Write, 0, line, samples, 1, row.data(), samples, 1, GDT_Float64, 0, 0), CE_None);
  }
}

void OrthoFlight::writePositions() const {
  writeImage("PANN00A", [](int sample, int) { return 100.0 + sample; });
  writeImage("PANN00B", [](int, int line) { return 100.0 + line; });
}

std::optional<geo::XYZPoint> OrthoFlight::ground(geo::XYPoint const& mapPosition) const {
  std::vector<geo::XYZPoint> point{{mapPosition.x, mapPosition.y, 0.0}};
  std::vector<double> height(1);
  if (terrain->heights(point, height) == 0) {
    return std::nullopt;
  }
  point[0].z = height[0];
  terrain->coordinateSystem().transform(strip->localSystem(), point, point);
  return point[0];
}

// The camera looks on a line across the flight, ahead of itself, whose samples run to the left; line 0 is at the
// origin.
geo::XYPoint OrthoFlight::image(geo::XYZPoint const& local) const {
  double const along = local.x * std::cos(setup.direction) + local.y * std::sin(setup.direction);
  double const across = local.y * std::cos(setup.direction) - local.x * std::sin(setup.direction);
  double const depth = flyingHeight - local.z;
  return {50.0 + across * focalPixels / depth, (along - setup.look * depth) / (small.speed * small.cycleTime)};
}

bool OrthoFlight::isInside(geo::XYPoint const& position, double margin) const {
  return position.x >= -0.5 - margin && position.x <= samples - 0.5 + margin && position.y >= -0.5 - margin &&
         position.y <= small.lines - 0.5 + margin;
}

geo::XYPoint OrthoFlight::mapOf(geo::XYZPoint const& local) const {
  std::vector<geo::XYZPoint> point{local};
  strip->localSystem().transform(map, point, point);
  return {point[0].x, point[0].y};
}

kesgdal::OrthoPlan OrthoFlight::plan(double gsd) const {
  kesgdal::OrthoPlan result;
  result.bands = {"PANN00A", "PANN00B"};
  result.gsd = gsd;
  result.noData = -1.0;
  return result;
}

Raster OrthoFlight::ortho(kesgdal::OrthoPlan const& orthoPlan, kesgdal::Progress const& progress) {
  kesgdal::writeOrthophoto(*strip, map, *terrain, orthoPlan, folder / "ortho.tif", progress);
  return Raster(folder / "ortho.tif");
}

}  // namespace test
