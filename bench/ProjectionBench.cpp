#include "Strip.h"

#include <benchmark/benchmark.h>

namespace {

using bench::groundGrid;
using bench::imageGrid;
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

void lsrToImageRun(benchmark::State& state) {
  sensor::KESStripModel const& model = strip();
  int const band = panNadir();
  std::vector<geo::XYZPoint> const& ground = groundGrid();
  std::vector<geo::XYPoint> image(ground.size());
  for (auto _ : state) {
    model.lsrToImage(ground, band, image);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
}
BENCHMARK(lsrToImageRun)->Name("lsrToImage, a run")->Unit(benchmark::kMillisecond);

void lsrToImageFourLanes(benchmark::State& state) {
  sensor::KESStripModel const& model = strip();
  int const band = panNadir();
  std::vector<geo::XYZPoint> const& ground = groundGrid();
  std::vector<geo::XYPoint> image(ground.size());
  for (auto _ : state) {
    model.lsrToImageSSE(ground, band, image);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ground.size()));
}
BENCHMARK(lsrToImageFourLanes)->Name("lsrToImageSSE, a run")->Unit(benchmark::kMillisecond);

}  // namespace
