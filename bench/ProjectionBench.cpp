// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <benchmark/benchmark.h>

namespace {

using bench::groundGrid;
using bench::imageGrid;
using bench::pixelGrid;
using bench::strip;

int panNadir() {
  return strip().bandIndex("PANN00A");
}

// Calls `operation` with each index of the grid, and counts the calls as items.
template <class Operation>
void overGrid(benchmark::State& state, Operation operation) {
  std::size_t const count = imageGrid().size();
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i) {
      operation(i);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

void atGPS(benchmark::State& state) {
  sensor::EOPData const& eop = *strip().eop();
  double const start = strip().gpsTime({0.0, 0.0}, panNadir()).value();
  sensor::EOP record;
  overGrid(state, [&](std::size_t i) {
    eop.atGPS(sensor::seconds(start + static_cast<double>(i) * 5e-5), record);
    benchmark::DoNotOptimize(record);
  });
}
BENCHMARK(atGPS)->Unit(benchmark::kMillisecond);

void gpsTime(benchmark::State& state) {
  sensor::CameraTime const& time = *strip().img(panNadir())->cameraTime();
  overGrid(state, [&](std::size_t i) {
    auto t = time.gpsTime(static_cast<float>(imageGrid()[i].y));
    benchmark::DoNotOptimize(t);
  });
}
BENCHMARK(gpsTime)->Unit(benchmark::kMillisecond);

void imageToFocal(benchmark::State& state) {
  sensor::CalibrationGeometry const& calibration = *strip().calibrationGeometry(panNadir());
  geo::XYPoint focal;
  overGrid(state, [&](std::size_t i) {
    calibration.imageToFocal(imageGrid()[i], {}, focal);
    benchmark::DoNotOptimize(focal);
  });
}
BENCHMARK(imageToFocal)->Unit(benchmark::kMillisecond);

void focalToImage(benchmark::State& state) {
  sensor::CalibrationGeometry const& calibration = *strip().calibrationGeometry(panNadir());
  geo::XYPoint image;
  overGrid(state, [&](std::size_t i) {
    calibration.focalToImage({0.0, (imageGrid()[i].x - 6000.0) * 6.5e-6}, {}, image);
    benchmark::DoNotOptimize(image);
  });
}
BENCHMARK(focalToImage)->Unit(benchmark::kMillisecond);

void imageToLsr(benchmark::State& state) {
  sensor::KESStripModel const& model = strip();
  int const band = panNadir();
  auto const height = static_cast<float>(model.meanTerrainHeight());
  geo::XYZPoint ground;
  overGrid(state, [&](std::size_t i) {
    model.imageToLsr(imageGrid()[i], height, band, ground);
    benchmark::DoNotOptimize(ground);
  });
}
BENCHMARK(imageToLsr)->Unit(benchmark::kMillisecond);

void lsrToImagePoint(benchmark::State& state) {
  sensor::KESStripModel const& model = strip();
  int const band = panNadir();
  std::vector<geo::XYZPoint> const& ground = groundGrid();
  geo::XYPoint image;
  overGrid(state, [&](std::size_t i) {
    model.lsrToImage(ground[i], band, image);
    benchmark::DoNotOptimize(image);
  });
}
BENCHMARK(lsrToImagePoint)->Name("lsrToImage, a point")->Unit(benchmark::kMillisecond);

// A form for many points over a grid.
template <class Solve>
void overRun(benchmark::State& state, std::vector<geo::XYZPoint> const& ground, Solve solve) {
  std::vector<geo::XYPoint> image(ground.size());
  for (auto _ : state) {
    solve(ground, image);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
}

void lsrToImageRun(benchmark::State& state, bool pixels) {
  overRun(state, pixels ? pixelGrid() : groundGrid(),
          [](auto const& ground, auto& image) { strip().lsrToImage(ground, panNadir(), image); });
}
BENCHMARK_CAPTURE(lsrToImageRun, strip, false)->Name("lsrToImage, a run")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(lsrToImageRun, pixels, true)->Name("lsrToImage, a run of pixels")->Unit(benchmark::kMillisecond);

void lsrToImageLanes(benchmark::State& state, bool pixels) {
  overRun(state, pixels ? pixelGrid() : groundGrid(),
          [](auto const& ground, auto& image) { strip().lsrToImageSSE(ground, panNadir(), image); });
}
BENCHMARK_CAPTURE(lsrToImageLanes, strip, false)->Name("lsrToImageSSE, a run")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(lsrToImageLanes, pixels, true)->Name("lsrToImageSSE, a run of pixels")->Unit(benchmark::kMillisecond);

}  // namespace
