// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <kes/kes.h>

#include <benchmark/benchmark.h>

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

void toGround(benchmark::State& state, kes::ToGroundOptions const& options, std::size_t count) {
  std::vector<geo::XYPoint> const image(bench::imageGrid().begin(),
                                        bench::imageGrid().begin() + static_cast<std::ptrdiff_t>(count));
  std::vector<geo::XYZPoint> ground(count);
  std::vector<kes::Status> status(count);
  for (auto _ : state) {
    band().toGround(image, options, ground, status);
    benchmark::DoNotOptimize(ground.data());
  }
  countItems(state, count);
}

void preciseImageToGroundAtHeight(benchmark::State& state) {
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{terrainHeight()};
  toGround(state, options, bench::imageGrid().size());
}
BENCHMARK(preciseImageToGroundAtHeight)->Unit(benchmark::kMillisecond);

void preciseImageToSurface(benchmark::State& state) {
  kes::ToGroundOptions options;
  options.heights = kes::Surface::raster(KESSENSOR_TERRAIN);
  toGround(state, options, 20000);
}
BENCHMARK(preciseImageToSurface)->Unit(benchmark::kMillisecond);

}  // namespace
