// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LongDoubleReference.h"

#include <kes/kes.h>
#include <sensor/kessensor.h>
#include <simulation/Flight.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

// Many local positions at once, as maps and point clouds have them, each beside the library's run form. Counters: the
// greatest error in lines and samples against a search in long double.

namespace {

constexpr char const* BAND = "PANN00A";
constexpr int SHORT = 2000;  // lines
constexpr int LONG = 200000;
constexpr std::size_t POINTS = 1U << 18U;
constexpr int COMPARED = 200;
constexpr double HEIGHT = 400.0;

/// A strip of so many lines, simulated in a folder that goes with it.
class Flight {
public:
  explicit Flight(int lines) {
    std::string pattern = (std::filesystem::temp_directory_path() / "kessensor-bench-XXXXXX").string();
    mFolder = mkdtemp(pattern.data());
    simulation::FlightPlan plan;
    plan.dem = KESSENSOR_TERRAIN;
    plan.lines = lines;
    plan.samples = 2000;
    auto const files = simulation::simulateFlight(plan, mFolder);
    kes::StripOptions options;
    options.calibrations = {mFolder + "/" + files.calibrations};
    options.standardDeviations = true;
    mStrip = std::make_unique<kes::Strip>(mFolder + "/" + files.strip, options);
  }
  ~Flight() {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }
  Flight(Flight const&) = delete;
  Flight& operator=(Flight const&) = delete;

  kes::Strip const& strip() const { return *mStrip; }
  kes::Band band() const { return mStrip->band(BAND); }

private:
  std::string mFolder;
  std::unique_ptr<kes::Strip> mStrip;
};

Flight const& flight(int lines) {
  static std::map<int, std::unique_ptr<Flight>> made;
  std::unique_ptr<Flight>& entry = made[lines];
  if (entry == nullptr) {
    entry = std::make_unique<Flight>(lines);
  }
  return *entry;
}

/// Image positions in no order.
std::vector<geo::XYPoint> randomPixels(kes::Band const& band) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> sample(0.0, band.samples() - 1.0);
  std::uniform_real_distribution<double> line(0.0, band.lines() - 1.0);
  std::vector<geo::XYPoint> points;
  for (std::size_t i = 0; i < POINTS; ++i) {
    double const x = sample(random);
    points.emplace_back(x, line(random));
  }
  return points;
}

std::vector<geo::XYZPoint> randomGround(kes::Band const& band) {
  std::vector<geo::XYPoint> const image = randomPixels(band);
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{HEIGHT};
  band.toGround(image, options, ground, status);
  return ground;
}

/// Rows of a map about the middle of a strip: a pixel apart, at an angle to the flight, over gentle hills.
std::vector<geo::XYZPoint> mapRows(kes::Band const& band) {
  constexpr int size = 512;
  constexpr double angle = 0.5;
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{HEIGHT};
  geo::XYZPoint const middle = band.toGround(geo::XYPoint(0.5 * band.samples(), 0.5 * band.lines()), options).position;
  std::vector<geo::XYZPoint> points;
  for (int row = 0; row < size; ++row) {
    for (int column = 0; column < size; ++column) {
      double const x = (column - size / 2) * band.gsd();
      double const y = (row - size / 2) * band.gsd();
      points.emplace_back(middle.x + std::cos(angle) * x - std::sin(angle) * y,
                          middle.y + std::sin(angle) * x + std::cos(angle) * y,
                          HEIGHT + 5.0 * std::sin(0.05 * column) + 4.0 * std::cos(0.03 * row));
    }
  }
  return points;
}

/// The same in a map's system, from west to east.
std::vector<geo::XYZPoint> utmRows(kes::Band const& band, kes::CoordinateSystem const& utm) {
  constexpr int size = 512;
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{HEIGHT};
  options.system = utm;
  geo::XYZPoint const middle = band.toGround(geo::XYPoint(0.5 * band.samples(), 0.5 * band.lines()), options).position;
  std::vector<geo::XYZPoint> points;
  for (int row = 0; row < size; ++row) {
    for (int column = 0; column < size; ++column) {
      points.emplace_back(middle.x + (column - size / 2) * band.gsd(), middle.y - (row - size / 2) * band.gsd(),
                          HEIGHT + 5.0 * std::sin(0.05 * column) + 4.0 * std::cos(0.03 * row));
    }
  }
  return points;
}

// The reference looks for the first line in steps, which takes long: a few positions, near what was found.
void countErrors(benchmark::State& state, Flight const& flight, std::vector<geo::XYZPoint> const& ground,
                 std::vector<geo::XYPoint> const& image) {
  test::Reference const reference(flight.strip(), BAND);
  double lines = 0.0;
  double samples = 0.0;
  for (std::size_t i = 0; i < ground.size(); i += ground.size() / COMPARED) {
    auto const near = static_cast<test::Real>(image[i].y);
    test::Real const line = reference.firstLine(ground[i], near - 4.0L, near + 1.0L);
    lines = std::max(lines, static_cast<double>(std::fabs(near - line)));
    samples = std::max(samples, std::fabs(image[i].x - static_cast<double>(reference.see(ground[i], line).sample)));
  }
  state.counters["lines"] = lines;
  state.counters["samples"] = samples;
}

void toImage(benchmark::State& state, int lines, std::vector<geo::XYZPoint> (*points)(kes::Band const&)) {
  Flight const& strip = flight(lines);
  kes::Band const band = strip.band();
  std::vector<geo::XYZPoint> const ground = points(band);
  std::vector<geo::XYPoint> image(ground.size());
  std::vector<kes::Status> status(ground.size());
  for (auto _ : state) {
    band.toImage(ground, {}, image, status);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
  countErrors(state, strip, ground, image);
}
BENCHMARK_CAPTURE(toImage, mapRows, SHORT, mapRows)->Name("precise, map rows");
BENCHMARK_CAPTURE(toImage, random, SHORT, randomGround)->Name("precise, random points");
BENCHMARK_CAPTURE(toImage, randomLong, LONG, randomGround)->Name("precise, random points of 200000 lines");

// Rows from west to east, their conversion to the local system included. Errors are those of the whole.
void mapToImage(benchmark::State& state) {
  Flight const& strip = flight(SHORT);
  kes::Band const band = strip.band();
  kes::CoordinateSystem const utm("EPSG:32616");
  std::vector<geo::XYZPoint> const ground = utmRows(band, utm);
  std::vector<geo::XYPoint> image(ground.size());
  std::vector<kes::Status> status(ground.size());
  kes::ToImageOptions options;
  options.system = utm;
  for (auto _ : state) {
    band.toImage(ground, options, image, status);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
  std::vector<geo::XYZPoint> local(ground.size());
  utm.transform(band.localSystem(), ground, local);
  countErrors(state, strip, local, image);
}
BENCHMARK(mapToImage)->Name("precise, rows of a UTM map");

void libraryRun(benchmark::State& state, int lines, std::vector<geo::XYZPoint> (*points)(kes::Band const&)) {
  Flight const& strip = flight(lines);
  kes::Band const band = strip.band();
  std::vector<geo::XYZPoint> const ground = points(band);
  std::vector<geo::XYPoint> image(ground.size());
  for (auto _ : state) {
    strip.strip().model().lsrToImage(ground, band.index(), image);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
  countErrors(state, strip, ground, image);
}
BENCHMARK_CAPTURE(libraryRun, mapRows, SHORT, mapRows)->Name("library's run, map rows");
BENCHMARK_CAPTURE(libraryRun, random, SHORT, randomGround)->Name("library's run, random points");

void toGround(benchmark::State& state, int lines) {
  kes::Band const band = flight(lines).band();
  std::vector<geo::XYPoint> const image = randomPixels(band);
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{HEIGHT};
  for (auto _ : state) {
    band.toGround(image, options, ground, status);
    benchmark::DoNotOptimize(ground.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}
BENCHMARK_CAPTURE(toGround, random, SHORT)->Name("precise, random pixels to a height");
BENCHMARK_CAPTURE(toGround, randomLong, LONG)->Name("precise, random pixels of 200000 lines to a height");

// In blocks that stay in the caches, as an adjustment uses them up: a point has 432 bytes.
void partials(benchmark::State& state) {
  constexpr std::size_t block = 2048;
  kes::Band const band = flight(SHORT).band();
  std::vector<geo::XYPoint> const image = randomPixels(band);
  std::vector<geo::XYZPoint> const ground = randomGround(band);
  std::vector<kes::ResidualPartials> partials(block);
  std::vector<kes::Status> status(block);
  for (auto _ : state) {
    for (std::size_t i = 0; i < image.size(); i += block) {
      band.partials({&image[i], block}, {&ground[i], block}, {}, partials, status);
      benchmark::DoNotOptimize(partials.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}
BENCHMARK(partials)->Name("partial derivatives, random pixels");

// What covariances cost beside the projection.
void accuracy(benchmark::State& state, double imageSigma) {
  kes::Band const band = flight(SHORT).band();
  std::vector<geo::XYPoint> const image = randomPixels(band);
  std::vector<geo::XYZPoint> const ground = randomGround(band);
  std::vector<kes::Covariance> covariances(image.size());
  std::vector<kes::Status> status(image.size());
  kes::AccuracyOptions options;
  options.imageSigma = imageSigma;
  for (auto _ : state) {
    band.accuracy(image, ground, options, {}, covariances, status);
    benchmark::DoNotOptimize(covariances.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}
BENCHMARK_CAPTURE(accuracy, withImage, 0.3)->Name("covariances, random pixels at a height");
BENCHMARK_CAPTURE(accuracy, ofOrientation, 0.0)->Name("covariances of the orientation, random pixels at a height");

}  // namespace
