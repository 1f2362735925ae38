// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <gdal_alg.h>
#include <gdalwarper.h>

#include <cmath>

namespace {

using dsm::RasterElevationSource;
using geo::XYZPoint;
using test::ElevationRaster;
using test::heightAt;

constexpr char const* JACKSBORO = KESSENSOR_TERRAIN "/jacksboro_dem.tif";
constexpr float NOTHING = -32000.0F;

/// GDAL's own bilinear heights of a raster, on a grid in the same system that is finer and lies across its cells.
struct WarpedRaster {
  int columns;
  int rows;
  std::array<double, 6> geoTransform;
  std::vector<float> heights;

  XYZPoint at(int column, int row) const {
    double x = 0.0;
    double y = 0.0;
    GDALApplyGeoTransform(const_cast<double*>(geoTransform.data()), column + 0.5, row + 0.5, &x, &y);
    return {x, y, 0.0};
  }
  float height(int column, int row) const {
    return heights[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                   static_cast<std::size_t>(column)];
  }
};

/// From a little outside the raster on, in steps of 0.37 and 0.43 of a cell.
WarpedRaster warped(std::string const& path) {
  GDALDatasetUniquePtr const source(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER));
  WarpedRaster result{0, 0, {}, {}};
  source->GetGeoTransform(result.geoTransform.data());
  result.columns = static_cast<int>((source->GetRasterXSize() + 2) / 0.37);
  result.rows = static_cast<int>((source->GetRasterYSize() + 2) / 0.43);
  result.geoTransform[0] -= result.geoTransform[1];
  result.geoTransform[3] -= result.geoTransform[5];
  result.geoTransform[1] *= 0.37;
  result.geoTransform[5] *= 0.43;
  auto* const memory = GetGDALDriverManager()->GetDriverByName("MEM");
  GDALDatasetUniquePtr const target(memory->Create("", result.columns, result.rows, 1, GDT_Float32, nullptr));
  target->SetGeoTransform(result.geoTransform.data());
  target->SetSpatialRef(source->GetSpatialRef());
  target->GetRasterBand(1)->Fill(static_cast<double>(NOTHING));
  EXPECT_EQ(GDALReprojectImage(GDALDataset::ToHandle(source.get()), nullptr, GDALDataset::ToHandle(target.get()),
                               nullptr, GRA_Bilinear, 0.0, 0.0, nullptr, nullptr, nullptr),
            CE_None);
  result.heights.resize(static_cast<std::size_t>(result.columns) * static_cast<std::size_t>(result.rows));
  EXPECT_EQ(target->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, result.columns, result.rows, result.heights.data(),
                                               result.columns, result.rows, GDT_Float32, 0, 0, nullptr),
            CE_None);
  return result;
}

/// Every height of GDAL's is the source's, and where GDAL has none, the source has none.
void expectAsWarped(std::string const& path, double tolerance) {
  RasterElevationSource const dem(path);
  WarpedRaster const gdal = warped(path);
  int found = 0;
  for (int row = 0; row < gdal.rows; ++row) {
    for (int column = 0; column < gdal.columns; ++column) {
      auto const height = heightAt(dem, gdal.at(column, row));
      ASSERT_EQ(height.has_value(), gdal.height(column, row) != NOTHING) << column << " " << row;
      if (height) {
        ASSERT_NEAR(*height, gdal.height(column, row), tolerance) << column << " " << row;
        ++found;
      }
    }
  }
  EXPECT_GT(found, gdal.columns * gdal.rows / 3);
}

TEST(RasterElevationGdal, TerrainIsAsWarped) {
  expectAsWarped(JACKSBORO, 1e-4);
}

TEST(RasterElevationGdal, RoughTerrainWithGapsIsAsWarped) {
  test::TempFolder const folder;
  test::Random random(23);
  ElevationRaster raster;
  raster.columns = 140;
  raster.rows = 135;
  raster.noData = -9999.0;
  raster.fill([&](int, int) { return random.between(0.0, 1.0) < 0.3 ? -9999.0 : random.between(-100.0, 1000.0); });
  expectAsWarped(raster.write(folder), 1e-3);
}

// Pieces of 8 by 8 cells, at which GDAL reads 8 heights for each cell.
TEST(RasterElevationGdal, TerrainIsAsReadWithBilinearResampling) {
  constexpr int SIDE = 8;
  constexpr int FINE = 64;
  GDALAllRegister();
  GDALDatasetUniquePtr const gdal(GDALDataset::Open(JACKSBORO, GDAL_OF_RASTER));
  std::array<double, 6> geoTransform{};
  gdal->GetGeoTransform(geoTransform.data());
  RasterElevationSource const dem(JACKSBORO);
  GDALRasterIOExtraArg bilinear;
  INIT_RASTERIO_EXTRA_ARG(bilinear);
  bilinear.eResampleAlg = GRIORA_Bilinear;
  for (int first : {0, 100, 122, 250, 330}) {
    std::vector<float> heights(std::size_t{FINE} * FINE);
    ASSERT_EQ(gdal->GetRasterBand(1)->RasterIO(GF_Read, first, first, SIDE, SIDE, heights.data(), FINE, FINE,
                                               GDT_Float32, 0, 0, &bilinear),
              CE_None);
    // Half a cell within the piece, beyond which GDAL takes nothing for granted of the cells around it.
    for (int i = FINE / SIDE / 2; i < FINE - FINE / SIDE / 2; ++i) {
      for (int j = FINE / SIDE / 2; j < FINE - FINE / SIDE / 2; ++j) {
        double const column = first + (j + 0.5) * SIDE / FINE;
        double const row = first + (i + 0.5) * SIDE / FINE;
        XYZPoint const place(geoTransform[0] + geoTransform[1] * column, geoTransform[3] + geoTransform[5] * row, 0.0);
        // GDAL rounds to whole metres, the type of the file.
        ASSERT_NEAR(heightAt(dem, place).value(), heights[static_cast<std::size_t>(i * FINE + j)], 0.5 + 1e-4);
      }
    }
  }
}

TEST(RasterElevationGdal, TerrainsRangeIsGdals) {
  GDALAllRegister();
  GDALDatasetUniquePtr const gdal(GDALDataset::Open(JACKSBORO, GDAL_OF_RASTER));
  std::array<double, 2> range{};
  ASSERT_EQ(gdal->GetRasterBand(1)->ComputeRasterMinMax(FALSE, range.data()), CE_None);
  auto const own = RasterElevationSource(JACKSBORO).heightRange();
  EXPECT_EQ(own->lowest, static_cast<float>(range[0]));
  EXPECT_EQ(own->highest, static_cast<float>(range[1]));
}

}  // namespace
