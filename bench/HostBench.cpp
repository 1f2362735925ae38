// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <kes/kes.h>

#include <benchmark/benchmark.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

// The precise projections of the front door, beside which those of the library stand in ProjectionBench.cpp.

namespace {

kes::Band const& band() {
  static kes::Strip const strip(bench::flightFolder() + "/strip.stp", {});
  static kes::Band const band = strip.band("PANN00A");
  return band;
}

double terrainHeight() {
  return bench::strip().meanTerrainHeight();
}

void countItems(benchmark::State& state, std::size_t count) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(count));
}

void preciseToImage(benchmark::State& state, std::vector<geo::XYZPoint> const& ground) {
  std::vector<geo::XYPoint> image(ground.size());
  std::vector<kes::Status> status(ground.size());
  for (auto _ : state) {
    band().toImage(ground, {}, image, status);
    benchmark::DoNotOptimize(image.data());
  }
  countItems(state, ground.size());
}

void preciseGroundToImageGrid(benchmark::State& state) {
  preciseToImage(state, bench::groundGrid());
}
BENCHMARK(preciseGroundToImageGrid)->Unit(benchmark::kMillisecond);

void preciseGroundToImagePixels(benchmark::State& state) {
  preciseToImage(state, bench::pixelGrid());
}
BENCHMARK(preciseGroundToImagePixels)->Unit(benchmark::kMillisecond);

void preciseGroundToImagePoint(benchmark::State& state) {
  std::vector<geo::XYZPoint> const& ground = bench::groundGrid();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(band().toImage(ground[i]));
    i = (i + 7919) % ground.size();
  }
  countItems(state, 1);
}
BENCHMARK(preciseGroundToImagePoint);

// Metres at most from where PROJ's own conversion puts the results.
struct GroundErrors {
  double across = 0.0;
  double height = 0.0;
};

kes::CoordinateSystem const& utm() {
  static kes::CoordinateSystem const system("EPSG:32616");
  return system;
}

// At most, or below.
double metresAbove(std::vector<geo::XYZPoint> ground, kes::Surface const& surface) {
  std::vector<double> heights(ground.size());
  utm().transform(surface.coordinateSystem(), ground, ground);
  surface.heights(ground, heights);
  double most = 0.0;
  for (std::size_t i = 0; i < ground.size(); ++i) {
    most = std::fmax(most, std::fabs(ground[i].z - heights[i]));
  }
  return most;
}

// The ray of each position, cut at the local height of its result, and converted exactly.
GroundErrors heightErrors(std::vector<geo::XYPoint> const& image, std::vector<geo::XYZPoint> const& ground) {
  std::vector<geo::XYZPoint> local(ground.size());
  utm().transform(band().localSystem(), ground, local);
  std::vector<double> heights;
  for (geo::XYZPoint const& p : local) {
    heights.push_back(p.z);
  }
  kes::ToGroundOptions options;
  options.heights = kes::HeightPerPoint{heights};
  std::vector<kes::Status> status(ground.size());
  band().toGround(image, options, local, status);
  band().localSystem().transform(utm(), local, local);
  GroundErrors errors;
  for (std::size_t i = 0; i < ground.size(); ++i) {
    errors.across = std::fmax(errors.across, std::hypot(local[i].x - ground[i].x, local[i].y - ground[i].y));
    errors.height = std::fmax(errors.height, std::fabs(local[i].z - ground[i].z));
  }
  return errors;
}

void toGround(benchmark::State& state, kes::ToGroundOptions const& options, std::vector<geo::XYPoint> const& image) {
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  band().toGround(image, options, ground, status);  // reads the surface
  for (auto _ : state) {
    band().toGround(image, options, ground, status);
    benchmark::DoNotOptimize(ground.data());
  }
  countItems(state, image.size());
  if (!options.system) {
    return;
  }
  auto const* const surface = std::get_if<kes::Surface>(&options.heights);
  if (surface != nullptr) {
    state.counters["mm above"] = 1e3 * metresAbove(ground, *surface);
    return;
  }
  GroundErrors const errors = heightErrors(image, ground);
  state.counters["mm across"] = 1e3 * errors.across;
  state.counters["mm of height"] = 1e3 * errors.height;
}

// Positions a pixel apart, as an orthophoto's are, and in no order over the whole image.
std::vector<geo::XYPoint> const& pixels() {
  static std::vector<geo::XYPoint> const positions = [] {
    constexpr int SIZE = 512;
    std::vector<geo::XYPoint> made;
    for (int i = 0; i < SIZE * SIZE; ++i) {
      made.emplace_back(2000.25 + i % SIZE, 3000.5 + i / SIZE);
    }
    return made;
  }();
  return positions;
}

std::vector<geo::XYPoint> const& randomPixels() {
  static std::vector<geo::XYPoint> const positions = [] {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> sample(0.0, band().samples() - 1.0);
    std::uniform_real_distribution<double> line(0.0, band().lines() - 1.0);
    std::vector<geo::XYPoint> made;
    for (std::size_t i = 0; i < pixels().size(); ++i) {
      double const x = sample(random);
      made.emplace_back(x, line(random));
    }
    return made;
  }();
  return positions;
}

void toHeight(benchmark::State& state, std::vector<geo::XYPoint> const& image, bool isMap) {
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{isMap ? 400.0 : terrainHeight()};
  if (isMap) {
    options.system = utm();
  }
  toGround(state, options, image);
}

void preciseImageToGroundAtHeight(benchmark::State& state) {
  toHeight(state, bench::imageGrid(), false);
}
BENCHMARK(preciseImageToGroundAtHeight)->Unit(benchmark::kMillisecond);

void preciseImageToMapAtHeight(benchmark::State& state) {
  toHeight(state, pixels(), true);
}
BENCHMARK(preciseImageToMapAtHeight)->Unit(benchmark::kMillisecond);

void preciseRandomPixelsToMapAtHeight(benchmark::State& state) {
  toHeight(state, randomPixels(), true);
}
BENCHMARK(preciseRandomPixelsToMapAtHeight)->Unit(benchmark::kMillisecond);

void toSurface(benchmark::State& state, std::vector<geo::XYPoint> const& image, std::string const& raster) {
  kes::ToGroundOptions options;
  options.heights = kes::Surface::raster(raster);
  options.system = utm();
  toGround(state, options, image);
}

double fineHeight(double x, double y) {
  return 400.0 + 40.0 * std::sin(x / 197.0) * std::cos(y / 171.0) + 3.0 * std::sin(x / 7.0 + y / 11.0);
}

// Hills and bushes in cells of 1 m around the image's ground, in a file that goes with the flight.
std::string writeFineTerrain() {
  std::vector<geo::XYPoint> corners;
  for (int i = 0; i < 4; ++i) {
    corners.emplace_back(i % 2 * (band().samples() - 1.0), i / 2 * (band().lines() - 1.0));
  }
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{400.0};
  options.system = utm();
  std::vector<geo::XYZPoint> ground(corners.size());
  std::vector<kes::Status> status(corners.size());
  band().toGround(corners, options, ground, status);
  constexpr double MARGIN = 300.0;
  auto const [west, east] = std::minmax({ground[0].x, ground[1].x, ground[2].x, ground[3].x});
  auto const [south, north] = std::minmax({ground[0].y, ground[1].y, ground[2].y, ground[3].y});
  int const columns = static_cast<int>(east - west + 2.0 * MARGIN);
  int const rows = static_cast<int>(north - south + 2.0 * MARGIN);
  std::string const name = bench::flightFolder() + "/fine.tif";
  GDALAllRegister();
  GDALDatasetUniquePtr const file(
      GetGDALDriverManager()->GetDriverByName("GTiff")->Create(name.c_str(), columns, rows, 1, GDT_Float32, nullptr));
  double geoTransform[] = {std::floor(west - MARGIN), 1.0, 0.0, std::ceil(north + MARGIN), 0.0, -1.0};
  OGRSpatialReference system;
  system.importFromEPSG(32616);
  file->SetGeoTransform(geoTransform);
  file->SetSpatialRef(&system);
  std::vector<float> heights(static_cast<std::size_t>(columns));
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      heights[static_cast<std::size_t>(column)] = static_cast<float>(fineHeight(column, row));
    }
    if (file->GetRasterBand(1)->RasterIO(GF_Write, 0, row, columns, 1, heights.data(), columns, 1, GDT_Float32, 0, 0) !=
        CE_None) {
      std::abort();
    }
  }
  return name;
}

std::string const& fineTerrain() {
  static std::string const name = writeFineTerrain();
  return name;
}

// Cells of 90 m, in degrees.
void preciseImageToSurface(benchmark::State& state) {
  toSurface(state, pixels(), KESSENSOR_TERRAIN);
}
BENCHMARK(preciseImageToSurface)->Unit(benchmark::kMillisecond);

void preciseRandomPixelsToSurface(benchmark::State& state) {
  toSurface(state, randomPixels(), KESSENSOR_TERRAIN);
}
BENCHMARK(preciseRandomPixelsToSurface)->Unit(benchmark::kMillisecond);

// Cells of 1 m, in the system of the results.
void preciseImageToFineSurface(benchmark::State& state) {
  toSurface(state, pixels(), fineTerrain());
}
BENCHMARK(preciseImageToFineSurface)->Unit(benchmark::kMillisecond);

void preciseRandomPixelsToFineSurface(benchmark::State& state) {
  toSurface(state, randomPixels(), fineTerrain());
}
BENCHMARK(preciseRandomPixelsToFineSurface)->Unit(benchmark::kMillisecond);

}  // namespace
