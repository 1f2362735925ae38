// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>

namespace {

using dsm::RasterElevationSource;
using test::ElevationRaster;
using test::heightAt;
using testing::Optional;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

/// Three columns and two rows. Centres are at columns 0.5, 1.5, 2.5 and rows 0.5, 1.5.
ElevationRaster sixCells() {
  ElevationRaster raster;
  raster.columns = 3;
  raster.rows = 2;
  raster.values = {10, 20, 40,  //
                   50, 90, 170};
  return raster;
}

class RasterElevation : public testing::Test {
protected:
  RasterElevationSource source(ElevationRaster const& raster) { return RasterElevationSource(raster.write(mFolder)); }
  test::TempFolder mFolder;
};

TEST_F(RasterElevation, CentresOfCellsHaveTheirValues) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  for (std::size_t i = 0; i < raster.values.size(); ++i) {
    double const column = static_cast<double>(i % 3) + 0.5;
    double const row = i < 3 ? 0.5 : 1.5;
    EXPECT_EQ(heightAt(dem, raster.at(column, row)), static_cast<float>(raster.values[i]));
  }
}

TEST_F(RasterElevation, HeightsBetweenCentresAreBilinear) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(1.0, 0.5)), 15.0F);   // half-way from 10 to 20
  EXPECT_EQ(heightAt(dem, raster.at(0.5, 0.75)), 20.0F);  // a quarter of the way from 10 down to 50
  // A quarter of the way along columns, three quarters down: 12.5 above, 60 below.
  EXPECT_EQ(heightAt(dem, raster.at(0.75, 1.25)), 12.5F + 0.75F * (60.0F - 12.5F));
  EXPECT_EQ(heightAt(dem, raster.at(2.0, 1.0)), (20.0F + 40.0F + 90.0F + 170.0F) / 4.0F);
}

TEST_F(RasterElevation, PositionsZDoesNotCount) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  for (double const z : {-5e9, NAN_VALUE, INFINITE}) {
    EXPECT_EQ(heightAt(dem, {raster.x(1.0), raster.y(1.0, 0.5), z}), 15.0F);
  }
}

TEST_F(RasterElevation, OuterHalfOfABorderCellGoesOnAlongTheBorder) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(0.25, 0.25)), 10.0F);    // corner: the cell alone
  EXPECT_EQ(heightAt(dem, raster.at(1.0, 0.125)), 15.0F);    // above the first centres: between 10 and 20
  EXPECT_EQ(heightAt(dem, raster.at(2.75, 1.0)), 105.0F);    // right of the last ones: between 40 and 170
  EXPECT_EQ(heightAt(dem, raster.at(1.75, 1.875)), 110.0F);  // below: a quarter from 90 to 170
  EXPECT_THAT(heightAt(dem, raster.at(2.9, 1.9)), Optional(170.0F));
}

TEST_F(RasterElevation, EdgesBelongToTheRaster) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(0.0, 0.0)), 10.0F);
  EXPECT_EQ(heightAt(dem, raster.at(3.0, 0.0)), 40.0F);
  EXPECT_EQ(heightAt(dem, raster.at(0.0, 2.0)), 50.0F);
  EXPECT_EQ(heightAt(dem, raster.at(3.0, 2.0)), 170.0F);
  EXPECT_EQ(heightAt(dem, raster.at(3.0, 1.0)), 105.0F);
  // Within a tenth of the millionth of a cell by which the edge is wider.
  EXPECT_EQ(heightAt(dem, raster.at(-1e-7, 1.0)), 30.0F);
  EXPECT_EQ(heightAt(dem, raster.at(3.0 + 1e-7, 2.0 + 1e-7)), 170.0F);
}

// One cell from 0 to 1 each way, so that positions in cells are those of the map to the last bit.
TEST_F(RasterElevation, EdgesAreWiderByAMillionthOfACellAndNoMore) {
  ElevationRaster raster;
  raster.columns = 1;
  raster.rows = 1;
  raster.geoTransform = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  raster.values = {7};
  auto const dem = source(raster);
  for (double const edge : {-1e-6, 1.0 + 1e-6}) {
    double const beyond = std::nextafter(edge, edge < 0.0 ? -1.0 : 2.0);
    EXPECT_EQ(heightAt(dem, {edge, 0.5, 0.0}), 7.0F);
    EXPECT_EQ(heightAt(dem, {0.5, edge, 0.0}), 7.0F);
    EXPECT_EQ(heightAt(dem, {beyond, 0.5, 0.0}), std::nullopt);
    EXPECT_EQ(heightAt(dem, {0.5, beyond, 0.0}), std::nullopt);
  }
}

TEST_F(RasterElevation, ThereIsNoHeightOutside) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  for (double const beyond : {1e-5, 0.25, 1.0, 1e6}) {
    EXPECT_EQ(heightAt(dem, raster.at(-beyond, 1.0)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(3.0 + beyond, 1.0)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(1.0, -beyond)), std::nullopt);
    EXPECT_EQ(heightAt(dem, raster.at(1.0, 2.0 + beyond)), std::nullopt);
  }
}

TEST_F(RasterElevation, ThereIsNoHeightAtPositionsThatAreNone) {
  auto const raster = sixCells();
  auto const dem = source(raster);
  for (double const value : {NAN_VALUE, INFINITE, -INFINITE, 1e308, -1e308}) {
    EXPECT_EQ(heightAt(dem, {value, raster.y(1.0, 1.0), 0.0}), std::nullopt);
    EXPECT_EQ(heightAt(dem, {raster.x(1.0), value, 0.0}), std::nullopt);
    EXPECT_EQ(heightAt(dem, {value, value, 0.0}), std::nullopt);
  }
}

TEST_F(RasterElevation, RasterOfOneCellIsLevelToItsEdges) {
  ElevationRaster raster;
  raster.columns = 1;
  raster.rows = 1;
  raster.values = {77.5};
  auto const dem = source(raster);
  for (double const column : {0.0, 0.3, 0.5, 1.0}) {
    EXPECT_EQ(heightAt(dem, raster.at(column, 0.9)), 77.5F);
  }
  EXPECT_EQ(heightAt(dem, raster.at(1.01, 0.5)), std::nullopt);
}

TEST_F(RasterElevation, RastersOfOneRowAndOfOneColumnAreLinear) {
  ElevationRaster row;
  row.columns = 2;
  row.rows = 1;
  row.values = {1, 3};
  auto const flat = source(row);
  EXPECT_EQ(heightAt(flat, row.at(1.0, 0.9)), 2.0F);
  EXPECT_EQ(heightAt(flat, row.at(0.1, 0.1)), 1.0F);
  ElevationRaster column;
  column.columns = 1;
  column.rows = 2;
  column.values = {1, 5};
  auto const steep = source(column);
  EXPECT_EQ(heightAt(steep, column.at(0.9, 1.25)), 4.0F);
}

// The gap is the upper middle cell.
class GapInRaster : public RasterElevation {
protected:
  void expectGap(ElevationRaster const& raster) {
    auto const dem = source(raster);
    for (double const row : {0.01, 0.5, 0.99}) {
      for (double const column : {1.01, 1.5, 1.99}) {
        EXPECT_EQ(heightAt(dem, raster.at(column, row)), std::nullopt) << column << " " << row;
      }
    }
    // Beside it, the other three share the weights: (0.75, 0.75) has weights of 9, 3, 3 and 1 sixteenths.
    EXPECT_THAT(heightAt(dem, raster.at(0.75, 0.75)), Optional((9.0F * 10.0F + 3.0F * 50.0F + 90.0F) / 13.0F));
    // Cell 10 alone above the centres, left of the gap.
    EXPECT_EQ(heightAt(dem, raster.at(0.9, 0.25)), 10.0F);
    // Below it: between 50, 90 and 170 at the height of their centres nothing of the gap is felt.
    EXPECT_EQ(heightAt(dem, raster.at(1.25, 1.5)), 80.0F);
  }
};

TEST_F(GapInRaster, NoDataValue) {
  auto raster = sixCells();
  raster.values[1] = -9999.0;
  raster.noData = -9999.0;
  expectGap(raster);
}

TEST_F(GapInRaster, NotANumber) {
  auto raster = sixCells();
  raster.values[1] = NAN_VALUE;
  expectGap(raster);
  raster.noData = NAN_VALUE;
  expectGap(raster);
  raster.type = GDT_Float64;
  expectGap(raster);
}

TEST_F(GapInRaster, InfiniteValues) {
  auto raster = sixCells();
  raster.values[1] = INFINITE;
  expectGap(raster);
  raster.values[1] = -INFINITE;
  expectGap(raster);
  raster.type = GDT_Float64;
  raster.values[1] = 1e39;  // infinite as a float
  expectGap(raster);
}

TEST_F(GapInRaster, MaskOfTheFile) {
  auto raster = sixCells();
  raster.finish = [](GDALDataset& image) {
    ASSERT_EQ(image.CreateMaskBand(GMF_PER_DATASET), CE_None);
    std::array<GByte, 6> mask = {255, 0, 255, 255, 255, 1};
    ASSERT_EQ(image.GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, 3, 2, mask.data(), 3, 2, GDT_Byte, 0, 0,
                                                              nullptr),
              CE_None);
  };
  expectGap(raster);
}

TEST_F(GapInRaster, NoDataOfWholeNumbers) {
  auto raster = sixCells();
  raster.type = GDT_Int16;
  raster.values[1] = -32768;
  raster.noData = -32768;
  expectGap(raster);
  raster.type = GDT_Byte;
  raster.values[1] = 255;
  raster.noData = 255;
  expectGap(raster);
}

TEST_F(GapInRaster, NoDataBeforeScaleAndOffset) {
  auto raster = sixCells();
  raster.scale = 0.5;
  raster.offset = -100.0;
  for (double& value : raster.values) {
    value = (value + 100.0) / 0.5;
  }
  raster.values[1] = 0.0;
  raster.noData = 0.0;
  expectGap(raster);
}

TEST_F(RasterElevation, EdgesOfAGapBelongToTheSurface) {
  auto raster = sixCells();
  raster.values[1] = NAN_VALUE;
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(1.0, 0.5)), 10.0F);
  EXPECT_EQ(heightAt(dem, raster.at(1.0 + 1e-7, 0.5)), 10.0F);
  EXPECT_EQ(heightAt(dem, raster.at(2.0, 0.5)), 40.0F);
  EXPECT_EQ(heightAt(dem, raster.at(2.0 - 1e-7, 0.5)), 40.0F);
  EXPECT_EQ(heightAt(dem, raster.at(1.5, 1.0)), 90.0F);
  EXPECT_EQ(heightAt(dem, raster.at(1.5, 1.0 - 1e-5)), std::nullopt);
}

TEST_F(RasterElevation, CellAloneAmongGapsIsLevel) {
  auto raster = sixCells();
  raster.values = {NAN_VALUE, NAN_VALUE, NAN_VALUE, NAN_VALUE, 90, NAN_VALUE};
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(1.05, 1.05)), 90.0F);
  EXPECT_EQ(heightAt(dem, raster.at(1.95, 1.95)), 90.0F);
  EXPECT_EQ(heightAt(dem, raster.at(0.95, 1.5)), std::nullopt);
}

TEST_F(RasterElevation, DiagonalNeighboursMeetInTheirCorner) {
  auto raster = sixCells();
  raster.values = {10, NAN_VALUE, NAN_VALUE, NAN_VALUE, 90, NAN_VALUE};
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(1.0, 1.0)), 50.0F);
  // 9 sixteenths of 10 and 1 of 90.
  EXPECT_THAT(heightAt(dem, raster.at(0.75, 0.75)), Optional(18.0F));
  EXPECT_EQ(heightAt(dem, raster.at(1.25, 0.75)), std::nullopt);
}

TEST_F(RasterElevation, SurfaceIsContinuousAcrossCentresAndTowardsGaps) {
  auto raster = sixCells();
  raster.values[1] = NAN_VALUE;
  auto const dem = source(raster);
  constexpr double STEP = 1e-6;
  for (int i = 0; i < 28; ++i) {
    double const row = 0.02 + 0.07 * i;
    float const left = heightAt(dem, raster.at(0.5 - STEP, row)).value();
    EXPECT_NEAR(left, heightAt(dem, raster.at(0.5 + STEP, row)).value(), 1e-3) << row;
  }
  for (int i = 0; i < 14; ++i) {
    double const column = 0.02 + 0.07 * i;
    float const upper = heightAt(dem, raster.at(column, 0.5 - STEP)).value();
    EXPECT_NEAR(upper, heightAt(dem, raster.at(column, 0.5 + STEP)).value(), 1e-3) << column;
  }
}

class TypeOfCells : public RasterElevation, public testing::WithParamInterface<GDALDataType> {};

TEST_P(TypeOfCells, ValuesKeepTheirDigits) {
  auto raster = sixCells();
  raster.type = GetParam();
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(1.5, 1.5)), 90.0F);
  EXPECT_EQ(heightAt(dem, raster.at(2.0, 1.0)), 80.0F);
}

INSTANTIATE_TEST_SUITE_P(AllRealTypes, TypeOfCells,
                         testing::Values(GDT_Byte, GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_UInt64, GDT_Int64,
                                         GDT_Float32, GDT_Float64),
                         [](auto const& test) { return std::string(GDALGetDataTypeName(test.param)); });

TEST_F(RasterElevation, SignedTypesReachBelowTheSea) {
  for (GDALDataType const type : {GDT_Int16, GDT_Int32, GDT_Float32, GDT_Float64}) {
    auto raster = sixCells();
    raster.type = type;
    raster.values = {-10, -20, -40, -50, -90, -170};
    EXPECT_EQ(heightAt(source(raster), raster.at(1.0, 0.5)), -15.0F);
  }
}

TEST_F(RasterElevation, DoublesAreScaledBeforeTheyAreRounded) {
  auto raster = sixCells();
  raster.type = GDT_Float64;
  raster.offset = -1e9;
  raster.values.assign(6, 1e9 + 0.25);  // as a float, 1e9 + 64 would be next
  EXPECT_EQ(heightAt(source(raster), raster.at(1.0, 0.5)), 0.25F);
}

TEST_F(RasterElevation, ScaleAndOffsetOfTheBandAreApplied) {
  auto raster = sixCells();
  raster.type = GDT_UInt16;
  raster.scale = 0.25;
  raster.offset = -500.0;
  auto const dem = source(raster);
  EXPECT_EQ(heightAt(dem, raster.at(0.5, 0.5)), -500.0F + 0.25F * 10.0F);
  EXPECT_EQ(heightAt(dem, raster.at(1.0, 0.5)), -500.0F + 0.25F * 15.0F);
}

TEST_F(RasterElevation, FirstBandCounts) {
  auto raster = sixCells();
  raster.bands = 2;
  raster.finish = [](GDALDataset& image) { ASSERT_EQ(image.GetRasterBand(2)->Fill(1000.0), CE_None); };
  EXPECT_EQ(heightAt(source(raster), raster.at(0.5, 0.5)), 10.0F);
}

TEST_F(RasterElevation, RangeIsThatOfTheCells) {
  auto raster = sixCells();
  raster.values[1] = -9999.0;
  raster.values[2] = NAN_VALUE;
  raster.noData = -9999.0;
  auto const dem = source(raster);
  for (int call = 0; call < 2; ++call) {
    auto const range = dem.heightRange();
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->lowest, 10.0F);
    EXPECT_EQ(range->highest, 170.0F);
  }
}

TEST_F(RasterElevation, RangeKnowsScaleOffsetAndUnit) {
  auto raster = sixCells();
  raster.scale = -2.0;
  raster.offset = 10.0;
  raster.unit = "ft";
  auto const range = source(raster).heightRange();
  EXPECT_EQ(range->lowest, static_cast<float>((10.0 - 2.0 * 170.0) * 0.3048));
  EXPECT_EQ(range->highest, static_cast<float>((10.0 - 2.0 * 10.0) * 0.3048));
}

TEST_F(RasterElevation, RasterWithoutAnyHeightHasNoRange) {
  auto raster = sixCells();
  raster.values.assign(6, -1.0);
  raster.noData = -1.0;
  auto const dem = source(raster);
  EXPECT_EQ(dem.heightRange(), std::nullopt);
  EXPECT_EQ(heightAt(dem, raster.at(1.5, 1.5)), std::nullopt);
}

}  // namespace
