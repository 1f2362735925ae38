// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using dsm::HeightExtent;
using dsm::HeightTile;
using dsm::RasterElevationSource;
using test::FormulaRaster;

double jagged(int column, int row) {
  return (column * 7919 + row * 104729) % 1009 - 500.0;
}

/// Mesh i lies between the cells i - 1 and i; those outside a raster have no height.
HeightExtent extentByCells(FormulaRaster const& raster, unsigned bits, int column, int row) {
  int const size = 1 << bits;
  HeightExtent extent;
  for (int y = std::max(row * size - 1, 0); y <= std::min((row + 1) * size - 1, raster.rows - 1); ++y) {
    for (int x = std::max(column * size - 1, 0); x <= std::min((column + 1) * size - 1, raster.columns - 1); ++x) {
      extent.add(static_cast<float>(raster.value(x, y)));
    }
  }
  return extent;
}

void expectSame(HeightExtent const& found, HeightExtent const& expected) {
  EXPECT_EQ(found.lowest, expected.lowest);
  EXPECT_EQ(found.highest, expected.highest);
}

TEST(HeightExtents, OfTheSquaresOfATileAreThoseOfTheirCells) {
  FormulaRaster raster(300, 200,
                       [](int column, int row) { return column < 60 && row > 100 ? NAN : jagged(column, row); });
  RasterElevationSource const dem(raster.name());
  for (unsigned bits = HeightTile::LEAST_BITS; bits <= HeightTile::MESH_BITS; ++bits) {
    int const side = 1 << (HeightTile::MESH_BITS - bits);
    for (int row = 0; row < 2 * side; ++row) {
      for (int column = 0; column < 3 * side; ++column) {
        SCOPED_TRACE(testing::Message() << bits << " bits, column " << column << ", row " << row);
        HeightTile const& tile =
            dem.tile(static_cast<std::uint64_t>(column / side), static_cast<std::uint64_t>(row / side));
        expectSame(tile.extent(bits, static_cast<std::size_t>(column % side), static_cast<std::size_t>(row % side)),
                   extentByCells(raster, bits, column, row));
      }
    }
  }
}

TEST(HeightExtents, OfSquaresOfTilesAreThoseOfTheirCells) {
  FormulaRaster raster(700, 300, [](int column, int row) { return column < 140 ? NAN : 1000.0 * row - column; });
  for (std::size_t const cacheSize : {RasterElevationSource::DEFAULT_CACHE_SIZE, std::size_t{0}}) {
    RasterElevationSource const dem(raster.name(), cacheSize);
    for (unsigned bits = HeightTile::MESH_BITS; bits <= 10; ++bits) {
      for (int row = 0; row << bits <= raster.rows; ++row) {
        for (int column = 0; column << bits <= raster.columns; ++column) {
          SCOPED_TRACE(testing::Message() << bits << " bits, column " << column << ", row " << row);
          expectSame(dem.extent(bits, static_cast<std::uint64_t>(column), static_cast<std::uint64_t>(row)),
                     extentByCells(raster, bits, column, row));
        }
      }
    }
    // Larger than the raster.
    expectSame(dem.extent(40, 0, 0), extentByCells(raster, 10, 0, 0));
  }
}

TEST(HeightExtents, TileKnowsOfGaps) {
  FormulaRaster raster(300, 300, [](int column, int row) { return column == 200 && row == 20 ? NAN : 1.0; });
  RasterElevationSource const dem(raster.name());
  EXPECT_TRUE(dem.tile(0, 0).hasGaps());  // beyond the first cells
  EXPECT_TRUE(dem.tile(1, 0).hasGaps());
  EXPECT_FALSE(dem.tile(1, 1).hasGaps());
}

TEST(HeightExtents, RasterThatFitsIntoTheCacheIsReadOnce) {
  FormulaRaster raster(300, 300, jagged);
  RasterElevationSource const dem(raster.name());
  EXPECT_NE(dem.heightRange(), std::nullopt);
  EXPECT_EQ(raster.readings, 9);
  for (int i = 0; i < 300; ++i) {
    test::heightAt(dem, {500000.5 + i, 5399999.5 - i, 0.0});
  }
  EXPECT_EQ(raster.readings, 9);
}

TEST(HeightExtents, GridKnowsItsWayAroundTheGlobe) {
  test::TempFolder const folder;
  test::ElevationRaster raster;
  raster.columns = 36;
  raster.rows = 2;
  raster.system = "EPSG:4326";
  raster.geoTransform = {-180.0, 10.0, 0.0, 10.0, 0.0, -10.0};
  raster.fill([](int, int) { return 1.0; });
  auto const around = RasterElevationSource(raster.write(folder)).grid();
  EXPECT_TRUE(around.isRing);
  EXPECT_EQ(around.fullTurn, 360.0);
  raster.geoTransform[1] = 9.0;
  EXPECT_FALSE(RasterElevationSource(raster.write(folder)).grid().isRing);
  raster.system = "EPSG:32633";
  EXPECT_EQ(RasterElevationSource(raster.write(folder)).grid().fullTurn, 0.0);
}

}  // namespace
