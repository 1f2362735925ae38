// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <geo/units.h>

#include <cmath>
#include <numbers>

namespace {

using dsm::RasterElevationSource;
using geo::XYZPoint;
using test::ElevationRaster;
using test::heightAt;

/// A plane, to which bilinear heights keep wherever four centres lie around a position.
double plane(double column, double row) {
  return 100.0 + 3.0 * column - 7.0 * row;
}

ElevationRaster planeRaster() {
  ElevationRaster raster;
  raster.fill([](int column, int row) { return plane(column + 0.5, row + 0.5); });
  return raster;
}

class RasterElevationPlace : public testing::Test {
protected:
  RasterElevationSource source(ElevationRaster const& raster) { return RasterElevationSource(raster.write(mFolder)); }

  /// The plane is found at all positions between the outer centres, and nothing outside.
  void expectPlane(ElevationRaster const& raster) {
    auto const dem = source(raster);
    for (int i = 2; i <= 4 * raster.rows - 2; ++i) {
      for (int j = 2; j <= 4 * raster.columns - 2; ++j) {
        double const row = 0.25 * i;
        double const column = 0.25 * j;
        EXPECT_NEAR(heightAt(dem, raster.at(column, row)).value_or(0.0F), plane(column, row), 2e-5);
      }
    }
    EXPECT_EQ(heightAt(dem, raster.at(-0.01, 1.0)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(1.0, -0.01)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(raster.columns + 0.01, 1.0)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(1.0, raster.rows + 0.01)), std::nullopt);
  }

  test::TempFolder mFolder;
};

TEST_F(RasterElevationPlace, NorthUp) {
  expectPlane(planeRaster());
}

TEST_F(RasterElevationPlace, SouthUpAndMirrored) {
  auto raster = planeRaster();
  raster.geoTransform = {500000.0, 10.0, 0.0, 5400000.0, 0.0, 4.0};
  expectPlane(raster);
  raster.geoTransform = {500000.0, -10.0, 0.0, 5400000.0, 0.0, -4.0};
  expectPlane(raster);
}

TEST_F(RasterElevationPlace, TurnedAndSheared) {
  auto raster = planeRaster();
  raster.geoTransform = {500000.0, 8.0, 3.0, 5400000.0, 6.0, -4.0};
  expectPlane(raster);
  raster.geoTransform = {500000.0, 0.0, 5.0, 5400000.0, 10.0, 0.0};  // columns run north, rows east
  expectPlane(raster);
}

TEST_F(RasterElevationPlace, BoundsAreTheOuterCorners) {
  auto const raster = planeRaster();
  auto const dem = source(raster);
  EXPECT_EQ(dem.bounds().minimum.x, 500000.0);
  EXPECT_EQ(dem.bounds().maximum.x, 500000.0 + 5 * 10.0);
  EXPECT_EQ(dem.bounds().minimum.y, 5400000.0 - 4 * 4.0);
  EXPECT_EQ(dem.bounds().maximum.y, 5400000.0);
  EXPECT_NE(heightAt(dem, {dem.bounds().minimum.x, dem.bounds().minimum.y, 0.0}), std::nullopt);
  EXPECT_NE(heightAt(dem, {dem.bounds().maximum.x, dem.bounds().maximum.y, 0.0}), std::nullopt);
}

TEST_F(RasterElevationPlace, BoundsOfATurnedRasterHoldAllItsCorners) {
  auto raster = planeRaster();
  raster.geoTransform = {500000.0, 8.0, 3.0, 5400000.0, 6.0, -4.0};
  auto const bounds = source(raster).bounds();
  // Corners: x + 0, 40, 12, 52 and y + 0, 30, -16, 14.
  EXPECT_EQ(bounds.minimum.x, 500000.0);
  EXPECT_EQ(bounds.maximum.x, 500052.0);
  EXPECT_EQ(bounds.minimum.y, 5399984.0);
  EXPECT_EQ(bounds.maximum.y, 5400030.0);
}

TEST_F(RasterElevationPlace, BoundsHoldRowsAndColumnsOfAllDirections) {
  auto raster = planeRaster();
  raster.geoTransform = {500000.0, -8.0, -3.0, 5400000.0, -6.0, -4.0};
  auto const below = source(raster).bounds();
  // 5 columns and 4 rows: -40 - 12 and -30 - 16.
  EXPECT_EQ(below.minimum.x, 499948.0);
  EXPECT_EQ(below.maximum.x, 500000.0);
  EXPECT_EQ(below.minimum.y, 5399954.0);
  EXPECT_EQ(below.maximum.y, 5400000.0);
  raster.geoTransform = {500000.0, 8.0, 3.0, 5400000.0, 6.0, 4.0};
  auto const above = source(raster).bounds();
  EXPECT_EQ(above.minimum.x, 500000.0);
  EXPECT_EQ(above.maximum.x, 500052.0);
  EXPECT_EQ(above.minimum.y, 5400000.0);
  EXPECT_EQ(above.maximum.y, 5400046.0);
}

TEST_F(RasterElevationPlace, GridIsThatOfTheFile) {
  auto raster = planeRaster();
  raster.geoTransform = {500000.0, 8.0, 3.0, 5400000.0, 6.0, -4.0};
  auto const grid = source(raster).grid();
  EXPECT_EQ(grid.columns, 5);
  EXPECT_EQ(grid.rows, 4);
  EXPECT_EQ(grid.geoTransform, raster.geoTransform);
}

TEST_F(RasterElevationPlace, CellsThatAreMarkedAsPointsHaveTheirCentresThere) {
  auto raster = planeRaster();
  raster.finish = [](GDALDataset& image) { image.SetMetadataItem(GDALMD_AREA_OR_POINT, GDALMD_AOP_POINT); };
  expectPlane(raster);
}

TEST_F(RasterElevationPlace, FileNameIsTheOneGiven) {
  auto const path = planeRaster().write(mFolder, "h\xc3\xb6hen modell.tif");
  EXPECT_EQ(RasterElevationSource(path).fileName(), path);
}

TEST_F(RasterElevationPlace, SystemIsTheRasters) {
  auto const dem = source(planeRaster());
  EXPECT_EQ(dem.coordSystem()->horizontalUnits().getScale(), 1.0);
  EXPECT_EQ(dem.coordSystem()->verticalUnits().getScale(), 1.0);
  // On the central meridian of zone 33 x is 500000.
  XYZPoint point;
  ASSERT_EQ(
      geo::coordSys::transform(dem.coordSystem(), test::geographic(true).get(), {500000.0, 5400000.0, 5.0}, point), 0);
  EXPECT_NEAR(point.x, 15.0, 1e-9);
  EXPECT_NEAR(point.z, 5.0, 1e-6);
}

/// One degree a column and half a degree a row, from 10 degrees east and 50 north on.
ElevationRaster degrees() {
  auto raster = planeRaster();
  raster.system = "EPSG:4326";
  raster.geoTransform = {10.0, 1.0, 0.0, 50.0, 0.0, -0.5};
  return raster;
}

TEST_F(RasterElevationPlace, LongitudeIsXWhateverOrderTheSystemHasItsAxesIn) {
  expectPlane(degrees());
  auto const dem = source(degrees());
  EXPECT_EQ(heightAt(dem, {12.5, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  XYZPoint point;
  ASSERT_EQ(geo::coordSys::transform(dem.coordSystem(), test::geographic().get(), {12.5, 49.25, 0.0}, point), 0);
  EXPECT_NEAR(point.x, 12.5 * test::DEGREE, 1e-15);
  EXPECT_NEAR(point.y, 49.25 * test::DEGREE, 1e-15);
}

TEST_F(RasterElevationPlace, LongitudesAFullTurnAwayAreFound) {
  auto raster = degrees();
  auto const east = source(raster);
  EXPECT_EQ(heightAt(east, {12.5 + 360.0, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  EXPECT_EQ(heightAt(east, {12.5 - 360.0, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  EXPECT_EQ(heightAt(east, {9.5 + 360.0, 49.25, 0.0}), std::nullopt);
  EXPECT_EQ(heightAt(east, {12.5 + 720.0, 49.25, 0.0}), std::nullopt);
  raster.geoTransform[0] = 178.0;  // across the date line, to 183
  auto const across = source(raster);
  EXPECT_EQ(heightAt(across, {180.5, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  EXPECT_EQ(heightAt(across, {-179.5, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  EXPECT_EQ(heightAt(across, {-177.0, 49.25, 0.0}), static_cast<float>(plane(4.5, 1.5)));
  EXPECT_EQ(heightAt(across, {-176.5, 49.25, 0.0}), std::nullopt);
}

TEST_F(RasterElevationPlace, TurnIsInTheSystemsOwnUnit) {
  auto raster = degrees();
  raster.system = "EPSG:4807";  // grads, 400 to the turn
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, {12.5 - 400.0, 49.25, 0.0}), static_cast<float>(plane(2.5, 1.5)));
  EXPECT_EQ(heightAt(dem, {12.5 - 360.0, 49.25, 0.0}), std::nullopt);
}

// The size of the grad has so many digits in the system that a turn of them comes out 1.7e-12 grads too long: that is
// 17 times the margin of these cells.
TEST_F(RasterElevationPlace, TurnOfGradsIsWhole) {
  auto raster = degrees();
  raster.system = "EPSG:4807";
  raster.geoTransform[1] = 1e-7;
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, {10.0 + 400.0, 49.25, 0.0}), static_cast<float>(plane(0.5, 1.5)));
  EXPECT_EQ(heightAt(dem, {10.0 + 5e-7 + 400.0, 49.25, 0.0}), static_cast<float>(plane(4.5, 1.5)));
}

// GeoTIFF makes degrees of radians.
TEST_F(RasterElevationPlace, TurnOfRadiansIsNotWhole) {
  auto raster = degrees();
  raster.driver = "ENVI";
  raster.system = R"(GEOGCS["radians",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],)"
                  R"(PRIMEM["Greenwich",0],UNIT["radian",1]])";
  raster.geoTransform = {0.5, 0.1, 0.0, 0.9, 0.0, -0.1};
  auto const dem = source(raster);
  EXPECT_NEAR(heightAt(dem, {0.75 - 2.0 * std::numbers::pi, 0.75, 0.0}).value_or(0.0F), plane(2.5, 1.5), 2e-5);
  EXPECT_NEAR(heightAt(dem, {0.75 + 2.0 * std::numbers::pi, 0.75, 0.0}).value_or(0.0F), plane(2.5, 1.5), 2e-5);
  EXPECT_EQ(heightAt(dem, {0.75 - 6.0, 0.75, 0.0}), std::nullopt);
}

TEST_F(RasterElevationPlace, EastingsHaveNoTurn) {
  auto raster = planeRaster();
  raster.geoTransform[0] = 10.0;
  EXPECT_EQ(heightAt(source(raster), {10.0 + 25.0 + 360.0, raster.y(0.0, 1.5), 0.0}), std::nullopt);
}

TEST_F(RasterElevationPlace, RasterAroundTheGlobeHasNoSeam) {
  ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.columns = 36;
  raster.rows = 2;
  raster.geoTransform = {-180.0, 10.0, 0.0, 10.0, 0.0, -10.0};
  raster.fill([](int column, int row) { return 100.0 * row + column; });
  auto const dem = source(raster);
  // The last column has 35, the first 0. A quarter of the way from one to the other:
  EXPECT_EQ(heightAt(dem, {177.5, 5.0, 0.0}), 0.75F * 35.0F);
  EXPECT_EQ(heightAt(dem, {-177.5, 5.0, 0.0}), 0.25F * 35.0F);
  EXPECT_EQ(heightAt(dem, {180.0, 0.0, 0.0}), 50.0F + 0.5F * 35.0F);
  EXPECT_EQ(heightAt(dem, {-180.0, 0.0, 0.0}), 50.0F + 0.5F * 35.0F);
  EXPECT_EQ(heightAt(dem, {182.5, 5.0, 0.0}), 0.25F * 35.0F);
  EXPECT_EQ(heightAt(dem, {187.5, 5.0, 0.0}), 0.25F);
}

// Of 36 columns, with 0.9 and 1.1 hundredths of a column to the full turn on either side.
TEST_F(RasterElevationPlace, RingMayLackOrExceedAHundredthOfAColumn) {
  for (double const gap : {-0.011, -0.009, 0.009, 0.011}) {
    ElevationRaster raster;
    raster.system = "EPSG:4326";
    raster.columns = 36;
    raster.rows = 1;
    raster.geoTransform = {-180.0, 360.0 / (36.0 + gap), 0.0, 10.0, 0.0, -10.0};
    raster.fill([](int column, int) { return column == 0 ? 1.0 : 3.0; });
    // Between the first column and the last, or in the first alone.
    bool const isRing = std::abs(gap) < 0.01;
    EXPECT_NEAR(heightAt(source(raster), {-179.9, 5.0, 0.0}).value_or(0.0F), isRing ? 2.0 : 1.0, 0.03) << gap;
  }
}

TEST_F(RasterElevationPlace, RasterAroundTheGlobeWithAStepOfFewDigitsHasNoSeam) {
  ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.columns = 4320;
  raster.rows = 1;
  raster.geoTransform = {-180.0, 0.0833333, 0.0, 10.0, 0.0, -1.0};  // ends at 179.999856
  raster.fill([](int column, int) { return column == 0 ? 1.0 : 3.0; });
  auto const dem = source(raster);
  for (double const x : {179.9999, -179.99999, 180.0, -180.0}) {
    EXPECT_NEAR(heightAt(dem, {x, 9.5, 0.0}).value_or(0.0F), 2.0, 0.01) << x;
  }
}

TEST_F(RasterElevationPlace, ShearedRasterAroundTheGlobeIsNoRing) {
  for (std::size_t const shear : {2U, 4U}) {
    ElevationRaster raster;
    raster.system = "EPSG:4326";
    raster.columns = 36;
    raster.rows = 1;
    raster.geoTransform = {-180.0, 10.0, 0.0, 10.0, 0.0, -10.0};
    raster.geoTransform[shear] = 0.5;
    raster.fill([](int column, int) { return column == 0 ? 1.0 : 3.0; });
    EXPECT_EQ(heightAt(source(raster), raster.at(0.1, 0.5)), 1.0F) << shear;
  }
}

TEST_F(RasterElevationPlace, RasterAlmostAroundTheGlobeEndsAtItsEdges) {
  ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.columns = 35;
  raster.rows = 1;
  raster.geoTransform = {-180.0, 10.0, 0.0, 10.0, 0.0, -10.0};
  raster.fill([](int column, int) { return column; });
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, {-179.0, 5.0, 0.0}), 0.0F);
  EXPECT_EQ(heightAt(dem, {175.0, 5.0, 0.0}), std::nullopt);
}

// The ring of 300 columns takes three tiles, the seam stands in the first and in the last.
TEST_F(RasterElevationPlace, SeamOfAWideRasterIsTheSameFromBothSides) {
  ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.columns = 300;
  raster.rows = 150;
  raster.geoTransform = {0.0, 1.2, 0.0, 90.0, 0.0, -1.2};
  raster.fill([](int column, int row) { return 10.0 * column + row; });
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, {0.0, 89.4, 0.0}), 1495.0F);
  EXPECT_EQ(heightAt(dem, {360.0, 89.4, 0.0}), 1495.0F);
  EXPECT_NEAR(heightAt(dem, {-0.3, -0.6, 0.0}).value(), 0.75 * 2990.0 + 75.0, 1e-3);
  EXPECT_NEAR(heightAt(dem, {359.7, -0.6, 0.0}).value(), 0.75 * 2990.0 + 75.0, 1e-3);
  EXPECT_NEAR(heightAt(dem, {0.3, -0.6, 0.0}).value(), 0.25 * 2990.0 + 75.0, 1e-3);
}

TEST_F(RasterElevationPlace, SeamOfAWideRasterChangesNoOtherCell) {
  ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.columns = 300;
  raster.rows = 150;
  raster.geoTransform = {0.0, 1.2, 0.0, 90.0, 0.0, -1.2};
  raster.fill([](int column, int row) { return 1000.0 * row + column; });
  auto const dem = source(raster);
  for (int row = 0; row < raster.rows; ++row) {
    for (int column = 0; column < raster.columns; ++column) {
      ASSERT_NEAR(heightAt(dem, raster.at(column + 0.5, row + 0.5)).value_or(-1.0F), 1000.0 * row + column, 0.02);
    }
  }
}

}  // namespace
