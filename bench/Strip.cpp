#include "Strip.h"

#include <cstdlib>
#include <filesystem>
#include <simulation/Flight.h>

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

}  // namespace

sensor::KESStripModel const& strip() {
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
  static std::vector<geo::XYZPoint> const grid = [] {
    sensor::KESStripModel const& model = strip();
    int const band = model.bandIndex("PANN00A");
    auto const height = static_cast<float>(model.meanTerrainHeight());
    geo::XYZPoint corners[2];
    model.imageToLsr({0.0, 0.0}, height, band, corners[0]);
    model.imageToLsr({samples - 1.0, lines - 1.0}, height, band, corners[1]);
    geo::XYZPoint other;
    model.imageToLsr({samples - 1.0, 0.0}, height, band, other);
    std::vector<geo::XYZPoint> points;
    for (int i = 0; i < gridSize; ++i) {
      for (int j = 0; j < gridSize; ++j) {
        // A parallelogram: across along the first line, then along the flight.
        double const u = j / (gridSize - 1.0);
        double const v = i / (gridSize - 1.0);
        points.emplace_back(corners[0].x + u * (other.x - corners[0].x) + v * (corners[1].x - other.x),
                            corners[0].y + u * (other.y - corners[0].y) + v * (corners[1].y - other.y),
                            static_cast<double>(height));
      }
    }
    return points;
  }();
  return grid;
}

}  // namespace bench
