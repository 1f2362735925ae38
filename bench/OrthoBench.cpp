// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <kes/kes.h>
#include <kesgdal/OrthoGrid.h>
#include <kesgdal/OrthoTransformer.h>
#include <kesgdal/Orthophoto.h>

#include <benchmark/benchmark.h>
#include <gdal_priv.h>

#include <filesystem>
#include <memory>
#include <numeric>

namespace {

constexpr double gsd = 0.5;

// The bench's strip with an image of noise, and a map.
struct OrthoStrip {
  kes::Surface terrain = kes::Surface::raster(KESSENSOR_TERRAIN);
  kes::CoordinateSystem map{"EPSG:32616"};
  kes::Strip strip{bench::strip().modelData()->fileName()};
  kes::Band band = strip.band("PANN00A");
  std::string image = band.imagePath();

  OrthoStrip() {
    std::filesystem::create_directories(std::filesystem::path(image).parent_path());
    writeImage();
  }

  void writeImage() const {
    GDALAllRegister();
    int const width = band.samples();
    int const height = band.lines();
    GDALDatasetUniquePtr const data(
        GetGDALDriverManager()->GetDriverByName("GTiff")->Create(image.c_str(), width, height, 1, GDT_UInt16, nullptr));
    std::vector<std::uint16_t> row(static_cast<std::size_t>(width));
    std::uint32_t state = 1;
    for (int line = 0; line < height; ++line) {
      for (std::uint16_t& pixel : row) {
        state = state * 1664525U + 1013904223U;
        pixel = static_cast<std::uint16_t>(1000U + (state >> 22U));
      }
      if (data->GetRasterBand(1)->RasterIO(GF_Write, 0, line, width, 1, row.data(), width, 1, GDT_UInt16, 0, 0) !=
          CE_None) {
        std::abort();
      }
    }
  }
};

OrthoStrip& orthoStrip() {
  static OrthoStrip made;
  return made;
}

// Positions row by row, as the warper asks for them.
void transform(benchmark::State& state) {
  constexpr int width = 1024;
  OrthoStrip& strip = orthoStrip();
  auto const extent = *kesgdal::footprint(strip.band, strip.map, strip.terrain);
  kesgdal::OrthoGrid const grid(extent, gsd, strip.map);
  kesgdal::OrthoTransformer const transformer(strip.band, strip.map, strip.terrain, grid.geoTransform());
  std::vector<double> x(width);
  std::vector<double> y(width);
  std::vector<double> z(width);
  std::vector<int> success(width);
  double row = grid.rows() / 2.0;
  for (auto _ : state) {
    std::iota(x.begin(), x.end(), grid.columns() / 2.0 - width / 2.0);
    std::fill(y.begin(), y.end(), row);
    kesgdal::OrthoTransformer::transform(transformer.argument(), 1, width, x.data(), y.data(), z.data(),
                                         success.data());
    benchmark::DoNotOptimize(x.data());
    row += 1.0;
    row = row < grid.rows() / 2.0 + 1000.0 ? row : grid.rows() / 2.0;
  }
  state.SetItemsProcessed(state.iterations() * width);
}
BENCHMARK(transform)->Name("ortho, positions of a row");

// Pixels of the file, of which a bit more than half are of the strip.
void orthophoto(benchmark::State& state) {
  OrthoStrip& strip = orthoStrip();
  kesgdal::OrthoPlan plan;
  plan.bands = {strip.band.id()};
  plan.gsd = gsd;
  plan.threads = static_cast<int>(state.range(0));
  std::string const file = bench::flightFolder() + "/ortho.tif";
  for (auto _ : state) {
    kesgdal::writeOrthophoto(strip.strip, strip.map, strip.terrain, plan, file);
  }
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str()));
  state.SetItemsProcessed(state.iterations() * data->GetRasterXSize() * data->GetRasterYSize());
}
BENCHMARK(orthophoto)
    ->Name("ortho, file by threads")
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
