// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <simulation/Flight.h>

#include <cstdlib>
#include <filesystem>

namespace bench {

namespace {

constexpr int gridSize = 1000;
constexpr int lines = 20000;
constexpr int samples = 12000;

struct Flight {
  std::string folder;
  std::unique_ptr<sensor::KESStripModel> model;

  Flight() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kessensor-bench-XXXXXX").string();
    folder = mkdtemp(pattern.data());
    simulation::FlightPlan plan;
    plan.dem = KESSENSOR_TERRAIN;
    plan.lines = lines;
    plan.samples = samples;
    auto const files = simulation::simulateFlight(plan, folder);
    sensor::CameraFactory::instance()->addSearchPath(folder + "/" + files.calibrations);
    model = std::make_unique<sensor::KESStripModel>(folder + "/" + files.strip, true, false, false);
  }
  ~Flight() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  Flight(Flight const&) = delete;
  Flight& operator=(Flight const&) = delete;
};

Flight const& flight() {
  static Flight const made;
  return made;
}

// A grid on the terrain plane about the middle of the strip, over this many pixels and lines: a parallelogram, across
// along its first line, then along the flight.
std::vector<geo::XYZPoint> parallelogram(double width, double length) {
  sensor::KESStripModel const& model = strip();
  int const band = model.bandIndex("PANN00A");
  auto const height = static_cast<float>(model.meanTerrainHeight());
  double const left = (samples - 1.0 - width) / 2.0;
  double const top = (lines - 1.0 - length) / 2.0;
  geo::XYZPoint first;
  geo::XYZPoint right;
  geo::XYZPoint last;
  model.imageToLsr({left, top}, height, band, first);
  model.imageToLsr({left + width, top}, height, band, right);
  model.imageToLsr({left + width, top + length}, height, band, last);
  std::vector<geo::XYZPoint> points;
  for (int i = 0; i < gridSize; ++i) {
    for (int j = 0; j < gridSize; ++j) {
      double const u = j / (gridSize - 1.0);
      double const v = i / (gridSize - 1.0);
      points.emplace_back(first.x + u * (right.x - first.x) + v * (last.x - right.x),
                          first.y + u * (right.y - first.y) + v * (last.y - right.y), static_cast<double>(height));
    }
  }
  return points;
}

}  // namespace

sensor::KESStripModel const& strip() {
  return *flight().model;
}

sensor::KESStripModel& mutableStrip() {
  return *flight().model;
}

std::string const& flightFolder() {
  return flight().folder;
}

std::vector<geo::XYPoint> const& imageGrid() {
  static std::vector<geo::XYPoint> const grid = [] {
    std::vector<geo::XYPoint> points;
    for (int i = 0; i < gridSize; ++i) {
      for (int j = 0; j < gridSize; ++j) {
        points.emplace_back((samples - 1.0) * j / (gridSize - 1), (lines - 1.0) * i / (gridSize - 1));
      }
    }
    return points;
  }();
  return grid;
}

std::vector<geo::XYZPoint> const& groundGrid() {
  static std::vector<geo::XYZPoint> const grid = parallelogram(samples - 1.0, lines - 1.0);
  return grid;
}

std::vector<geo::XYZPoint> const& pixelGrid() {
  static std::vector<geo::XYZPoint> const grid = parallelogram(gridSize - 1.0, gridSize - 1.0);
  return grid;
}

std::vector<geo::XYZPoint> inSystem(std::vector<geo::XYZPoint> const& grid, geo::coordSys const& system) {
  std::vector<geo::XYZPoint> points(grid.size());
  geo::coordSys::transform(strip().lsrSystem(), &system, grid.data(), points.data(), points.size());
  return points;
}

}  // namespace bench
