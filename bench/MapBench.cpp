// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

std::unique_ptr<geo::coordSys> systemOf(std::string const& definition) {
  geo::coordSysFactory const* const factory = geo::coordSysFactory::getInstance();
  return std::unique_ptr<geo::coordSys>(definition.empty() ? factory->createGEO84(false, false)
                                                           : factory->createCoordSys(definition));
}

// The strip of the benchmarks, with a mapping system for as long as this lives.
class Mapped {
public:
  explicit Mapped(std::string const& definition)
      : mBefore(bench::strip().mappingSystem()), mSystem(systemOf(definition)) {
    bench::mutableStrip().setMappingSystem(mSystem.get());
  }
  ~Mapped() { bench::mutableStrip().setMappingSystem(mBefore); }
  Mapped(Mapped const&) = delete;
  Mapped& operator=(Mapped const&) = delete;

  geo::coordSys const& system() const { return *mSystem; }

private:
  geo::coordSys* mBefore;
  std::unique_ptr<geo::coordSys> mSystem;
};

int panNadir() {
  return bench::strip().bandIndex("PANN00A");
}

void mapToImage(benchmark::State& state, char const* definition) {
  Mapped const map(definition);
  std::vector<geo::XYZPoint> const points = bench::inSystem(bench::groundGrid(), map.system());
  std::vector<geo::XYPoint> image(points.size());
  std::vector<geo::XYZPoint> lsr(points.size());
  for (auto _ : state) {
    bench::strip().mapToImage(points, panNadir(), image, lsr);
    benchmark::DoNotOptimize(image.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}
BENCHMARK_CAPTURE(mapToImage, GEO84, "")->Name("mapToImage, many, GEO84")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(mapToImage, UTM, "EPSG:32616")->Name("mapToImage, many, UTM")->Unit(benchmark::kMillisecond);

// A tenth of the grid: these take longer.
template <class Project>
void overImage(benchmark::State& state, Project project) {
  std::vector<geo::XYPoint> const& image = bench::imageGrid();
  std::int64_t points = 0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < image.size(); i += 10) {
      geo::XYZPoint map;
      project(image[i], map);
      benchmark::DoNotOptimize(map);
    }
    points += static_cast<std::int64_t>((image.size() + 9) / 10);
  }
  state.SetItemsProcessed(points);
}

void imageToMapAtHeight(benchmark::State& state) {
  Mapped const map("");
  int const band = panNadir();
  geo::XYZPoint const middle = bench::inSystem({bench::groundGrid()[500500]}, map.system()).front();
  auto const height = static_cast<float>(middle.z);
  overImage(state, [&](geo::XYPoint const& image, geo::XYZPoint& ground) {
    bench::strip().imageToMap(image, height, band, ground);
  });
}
BENCHMARK(imageToMapAtHeight)->Name("imageToMap, at a height")->Unit(benchmark::kMillisecond);

void imageToMapOnSurface(benchmark::State& state) {
  Mapped const map("");
  int const band = panNadir();
  dsm::RasterElevationSource surface(KESSENSOR_TERRAIN);
  // Each point begins at the height of the last one, above the anchor, as the ray is cut in the local system.
  auto const anchor = static_cast<float>(bench::strip().eop()->anchorPoint().z);
  float height = 0.0F;
  overImage(state, [&](geo::XYPoint const& image, geo::XYZPoint& ground) {
    height -= anchor;
    bench::strip().imageToMap(image, band, ground, &surface, height, 0.1F);
  });
}
BENCHMARK(imageToMapOnSurface)->Name("imageToMap, on an elevation model")->Unit(benchmark::kMillisecond);

}  // namespace
