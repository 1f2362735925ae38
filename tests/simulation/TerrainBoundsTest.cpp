// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/TempFolder.h"

#include <simulation/Random.h>
#include <simulation/Terrain.h>
#include <simulation/TerrainBounds.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using simulation::CellBox;
using simulation::Random;
using simulation::Terrain;
using simulation::TerrainBounds;

class Bounds : public testing::Test {
protected:
  std::string dem(test::ElevationRaster& raster) const { return raster.write(mFolder); }
  test::ElevationRaster rough() const {
    Random random(8, 0);
    test::ElevationRaster raster;
    raster.columns = 61;
    raster.rows = 43;
    return raster.fill([&](int, int) { return random.uniform(-20.0, 100.0); });
  }
  test::TempFolder mFolder;
};

float heightAt(Terrain const& terrain, double column, double row) {
  float height = std::nanf("");
  terrain.source().height(terrain.position({column, row}), height);
  return height;
}

// Sampled over random boxes, nothing exceeds the bounds; the heights' tenths of a thousandth are roundings of float.
TEST_F(Bounds, NothingExceedsThem) {
  test::ElevationRaster raster = rough();
  Terrain const terrain(dem(raster));
  TerrainBounds const bounds(terrain, {{-5.0, -5.0}, {99.0, 99.0}});
  Random random(2, 0);
  for (int i = 0; i < 200; ++i) {
    CellBox box;
    box.low = {random.uniform(0.0, 50.0), random.uniform(0.0, 35.0)};
    box.high = {box.low.x + random.uniform(0.0, 9.0), box.low.y + random.uniform(0.0, 8.0)};
    TerrainBounds::Bound const bound = bounds.over(box);
    for (int j = 0; j < 100; ++j) {
      double const column = random.uniform(box.low.x, box.high.x);
      double const row = random.uniform(box.low.y, box.high.y);
      double const along = std::min(column + 0.01, box.high.x);
      float const height = heightAt(terrain, column, row);
      ASSERT_LE(height, bound.highest + 1e-4F);
      ASSERT_LE(std::fabs(heightAt(terrain, along, row) - height), bound.perColumn * (along - column) + 1e-4);
      double const down = std::min(row + 0.01, box.high.y);
      ASSERT_LE(std::fabs(heightAt(terrain, column, down) - height), bound.perRow * (down - row) + 1e-4);
    }
  }
}

TEST_F(Bounds, AreThoseOfTheCells) {
  test::ElevationRaster raster;
  raster.columns = 30;
  raster.rows = 20;
  // One summit, at the centre of column 20 and row 5, on a plane that falls by 2 a row.
  raster.fill([](int column, int row) { return column == 20 && row == 5 ? 70.0 : 100.0 - 2.0 * row - 50.0; });
  Terrain const terrain(dem(raster));
  TerrainBounds const bounds(terrain, {{0.0, 0.0}, {30.0, 20.0}});
  EXPECT_EQ(bounds.highest(), 70.0F);
  EXPECT_EQ(bounds.lowest(), 12.0F);
  EXPECT_FALSE(bounds.isEmpty());
  TerrainBounds::Bound const summit = bounds.over({{20.5, 5.5}, {20.5, 5.5}});
  EXPECT_EQ(summit.highest, 70.0F);
  EXPECT_EQ(summit.perColumn, 30.0F);
  EXPECT_EQ(summit.perRow, 32.0F);
  TerrainBounds::Bound const plane = bounds.over({{3.0, 12.0}, {5.0, 13.0}});
  EXPECT_EQ(plane.highest, 34.0F) << "the row 8, with which its tile begins";
  EXPECT_EQ(plane.perColumn, 0.0F);
  EXPECT_EQ(plane.perRow, 2.0F);
}

TEST_F(Bounds, OutsideTheBoxNothingIsKnown) {
  test::ElevationRaster raster = rough();
  Terrain const terrain(dem(raster));
  TerrainBounds const bounds(terrain, {{10.0, -5.0}, {20.0, 15.0}});
  EXPECT_LT(bounds.over({{11.0, 3.0}, {12.0, 4.0}}).highest, 100.0F);
  EXPECT_EQ(bounds.over({{8.0, 3.0}, {12.0, 4.0}}).highest, TerrainBounds::unknown);
  EXPECT_EQ(bounds.over({{11.0, 3.0}, {23.0, 4.0}}).perRow, TerrainBounds::unknown);
  EXPECT_EQ(bounds.over({{11.0, 3.0}, {12.0, 18.0}}).perColumn, TerrainBounds::unknown);
  EXPECT_LT(bounds.over({{11.0, -3.0}, {12.0, 4.0}}).highest, 100.0F) << "the raster itself ends there";
  EXPECT_EQ(bounds.over({{std::nan(""), 3.0}, {12.0, 4.0}}).highest, TerrainBounds::unknown);
}

TEST_F(Bounds, BesideCellsWithoutAHeightSlopesAreUnknown) {
  test::ElevationRaster raster = rough();
  raster.noData = -9999.0;
  raster.values[5 * 61 + 20] = -9999.0;
  Terrain const terrain(dem(raster));
  TerrainBounds const bounds(terrain, {{0.0, 0.0}, {61.0, 43.0}});
  EXPECT_EQ(bounds.over({{20.5, 5.5}, {20.5, 5.5}}).perColumn, TerrainBounds::unknown);
  EXPECT_EQ(bounds.over({{20.5, 5.5}, {20.5, 5.5}}).perRow, TerrainBounds::unknown);
  EXPECT_LE(bounds.over({{20.5, 5.5}, {20.5, 5.5}}).highest, 100.0F);
  EXPECT_LT(bounds.over({{40.5, 20.5}, {40.5, 20.5}}).perColumn, TerrainBounds::unknown);
  EXPECT_GE(bounds.lowest(), -20.0F);
}

TEST_F(Bounds, TerrainWithoutHeightsIsEmpty) {
  test::ElevationRaster raster;
  raster.noData = 0.0;
  raster.fill([](int, int) { return 0.0; });
  Terrain const terrain(dem(raster));
  EXPECT_TRUE(TerrainBounds(terrain, {{0.0, 0.0}, {5.0, 4.0}}).isEmpty());
}

}  // namespace
