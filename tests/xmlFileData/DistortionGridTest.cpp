// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/DistortionGrid.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xmlFileData::DistortionGrid;
using xmlFileData::GridRow;

using Numbers = std::vector<double>;

// A row of as many pixels, in which all vectors differ.
GridRow rowOf(std::size_t length) {
  GridRow gridRow;
  for (std::size_t n = 0; n < length; ++n) {
    double const x = static_cast<double>(n);
    gridRow.row.push_back(31.5 + x);
    gridRow.column.push_back(-38.25 + x);
    gridRow.sigmaRow.push_back(0.125 + x);
    gridRow.sigmaColumn.push_back(0.25 + x);
  }
  return gridRow;
}

DistortionGrid gridOf(std::vector<GridRow> const& gridRows, std::string const& channel = "PANF27A",
                      bool isDelta = false) {
  DistortionGrid grid(channel, isDelta);
  for (GridRow const& gridRow : gridRows) {
    grid.addRow(gridRow);
  }
  return grid;
}

void expectSameVectors(GridRow const& actual, GridRow const& expected) {
  EXPECT_EQ(actual.row, expected.row);
  EXPECT_EQ(actual.column, expected.column);
  EXPECT_EQ(actual.sigmaRow, expected.sigmaRow);
  EXPECT_EQ(actual.sigmaColumn, expected.sigmaColumn);
}

TEST(DistortionGrid, BeginsAbsoluteAndEmpty) {
  DistortionGrid const grid;
  EXPECT_EQ(grid.rowCount(), 0);
  EXPECT_EQ(grid.columnCount(), 0);
  EXPECT_EQ(grid.rowStart(), 0.0);
  EXPECT_EQ(grid.rowSpacing(), 0.0);
  EXPECT_EQ(grid.columnStart(), 0.0);
  EXPECT_EQ(grid.columnSpacing(), 0.0);
  EXPECT_EQ(grid.channel(), "");
  EXPECT_THAT(grid.gridRows(), IsEmpty());
  EXPECT_FALSE(grid.isDelta());
  EXPECT_FALSE(DistortionGrid("PAN").isDelta());
  EXPECT_EQ(DistortionGrid("PAN").channel(), "PAN");
}

TEST(DistortionGrid, GrowsWithItsRows) {
  DistortionGrid const grid = gridOf({rowOf(4), rowOf(4)});
  EXPECT_EQ(grid.rowCount(), 2);
  EXPECT_EQ(grid.columnCount(), 4);
  ASSERT_EQ(grid.gridRows().size(), 2U);
  expectSameVectors(grid.gridRows()[1], rowOf(4));
}

TEST(DistortionGrid, RefusesARowOfAnotherLengthThanTheFirst) {
  DistortionGrid grid = gridOf({rowOf(4)});
  EXPECT_EQ(grid.columnCount(), 4);
  EXPECT_MESSAGE(grid.addRow(rowOf(5)), "Coloumn count wrong");
  EXPECT_MESSAGE(grid.addRow(rowOf(0)), "Coloumn count wrong");
  EXPECT_EQ(grid.rowCount(), 1);
  EXPECT_EQ(grid.columnCount(), 4);
  EXPECT_EQ(grid.gridRows().size(), 1U);
}

TEST(DistortionGrid, RefusesARowWhoseVectorsDifferInLength) {
  DistortionGrid grid;
  for (Numbers GridRow::*vector : {&GridRow::row, &GridRow::column, &GridRow::sigmaRow, &GridRow::sigmaColumn}) {
    GridRow gridRow = rowOf(4);
    (gridRow.*vector).push_back(0.0);
    GridRow const& kept = gridRow;
    EXPECT_MESSAGE(grid.addRow(kept), "Row count wrong");
    EXPECT_MESSAGE(grid.addRow(GridRow(gridRow)), "Row count wrong");
  }
  EXPECT_EQ(grid.rowCount(), 0);
  EXPECT_EQ(grid.columnCount(), 0);
  EXPECT_THAT(grid.gridRows(), IsEmpty());
}

TEST(DistortionGrid, RefusesPlacesAndDeviationsOfDifferentLengths) {
  GridRow gridRow = rowOf(4);
  gridRow.sigmaRow.pop_back();
  gridRow.sigmaColumn.pop_back();
  EXPECT_MESSAGE(gridOf({gridRow}), "Row count wrong");
}

TEST(DistortionGrid, LooksAtTheVectorsOfARowBeforeItsLength) {
  DistortionGrid grid = gridOf({rowOf(4)});
  GridRow gridRow = rowOf(5);
  gridRow.sigmaRow.pop_back();
  EXPECT_MESSAGE(grid.addRow(gridRow), "Row count wrong");
}

TEST(DistortionGrid, TakesTheColumnCountOfTheFirstRowThatHasPixels) {
  DistortionGrid grid = gridOf({rowOf(0), rowOf(3)});
  EXPECT_EQ(grid.rowCount(), 2);
  EXPECT_EQ(grid.columnCount(), 3);
}

TEST(DistortionGrid, AddsACopyOfItsOwnRow) {
  DistortionGrid grid = gridOf({rowOf(3)});
  grid.addRow(grid.gridRows().front());
  ASSERT_EQ(grid.rowCount(), 2);
  expectSameVectors(grid.gridRows()[0], rowOf(3));
  expectSameVectors(grid.gridRows()[1], rowOf(3));
}

TEST(DistortionGrid, TakesARasterOfZerosWithoutComment) {
  DistortionGrid grid;
  grid.setRowStart(0.0);
  grid.setRowSpacing(0.0);
  grid.setColumnStart(-0.0);
  grid.setColumnSpacing(0.0);
  EXPECT_EQ(grid.rowSpacing(), 0.0);
}

TEST(DistortionGrid, RefusesARasterWhenItIsAbsolute) {
  DistortionGrid grid("PAN");
  EXPECT_MESSAGE(grid.setRowStart(0.001), "Row start != 0 is invalid for absolute distortion grids");
  EXPECT_MESSAGE(grid.setRowSpacing(0.001), "row spacing != 0 is invalid for absolute distortion grids");
  EXPECT_MESSAGE(grid.setColumnStart(-0.001), "column start != 0 is invalid for absolute distortion grids");
  EXPECT_MESSAGE(grid.setColumnSpacing(std::numeric_limits<double>::quiet_NaN()),
                 "column spacing != 0 is invalid for absolute distortion grids");
  EXPECT_EQ(grid.rowStart(), 0.0);
  EXPECT_EQ(grid.rowSpacing(), 0.0);
  EXPECT_EQ(grid.columnStart(), 0.0);
  EXPECT_EQ(grid.columnSpacing(), 0.0);
}

TEST(DistortionGrid, KeepsTheRasterOfDifferences) {
  DistortionGrid grid("PAN", true);
  grid.setRowStart(1.0);
  grid.setRowSpacing(2.0);
  grid.setColumnStart(3.0);
  grid.setColumnSpacing(4.0);
  EXPECT_TRUE(grid.isDelta());
  EXPECT_EQ(grid.rowStart(), 1.0);
  EXPECT_EQ(grid.rowSpacing(), 2.0);
  EXPECT_EQ(grid.columnStart(), 3.0);
  EXPECT_EQ(grid.columnSpacing(), 4.0);
}

TEST(DistortionGrid, HasOneRowForALine) {
  DistortionGrid grid;
  EXPECT_MESSAGE(grid.onlyRow(), "Bad calibration format, only one row expected.");
  grid.addRow(rowOf(3));
  expectSameVectors(grid.onlyRow(), rowOf(3));
  grid.addRow(rowOf(3));
  EXPECT_MESSAGE(grid.onlyRow(), "Bad calibration format, only one row expected.");
}

TEST(DistortionGrid, ReplacesPlacesAndKeepsDeviations) {
  DistortionGrid grid = gridOf({rowOf(3)});
  grid.setPositions({1.0, 2.0, 3.0}, {4.0, 5.0, 6.0});
  EXPECT_THAT(grid.onlyRow().row, ElementsAre(1.0, 2.0, 3.0));
  EXPECT_THAT(grid.onlyRow().column, ElementsAre(4.0, 5.0, 6.0));
  EXPECT_EQ(grid.onlyRow().sigmaRow, rowOf(3).sigmaRow);
  EXPECT_EQ(grid.onlyRow().sigmaColumn, rowOf(3).sigmaColumn);
}

TEST(DistortionGrid, RefusesPlacesOfAnotherCount) {
  DistortionGrid grid = gridOf({rowOf(3)});
  EXPECT_MESSAGE(grid.setPositions({1.0, 2.0}, {4.0, 5.0, 6.0}), "Inconsistent vector size!");
  EXPECT_MESSAGE(grid.setPositions({1.0, 2.0, 3.0}, {4.0, 5.0, 6.0, 7.0}), "Inconsistent vector size!");
  expectSameVectors(grid.onlyRow(), rowOf(3));
  grid.addRow(rowOf(3));
  EXPECT_MESSAGE(grid.setPositions({1.0, 2.0}, {4.0}), "Bad calibration format, only one row expected.");
}

TEST(DistortionGridComparison, EqualsACopy) {
  DistortionGrid const grid = gridOf({rowOf(3), rowOf(3)});
  EXPECT_TRUE(grid == DistortionGrid(grid));
  EXPECT_FALSE(grid != DistortionGrid(grid));
  EXPECT_TRUE(DistortionGrid() == DistortionGrid());
}

// 3e-6 beside a value of few binary digits is rounded away at five decimals, 8e-6 is not.
TEST(DistortionGridComparison, TakesEachVectorToFiveDecimals) {
  DistortionGrid const grid = gridOf({rowOf(3), rowOf(3)});
  for (Numbers GridRow::*vector : {&GridRow::row, &GridRow::column, &GridRow::sigmaRow, &GridRow::sigmaColumn}) {
    GridRow gridRow = rowOf(3);
    (gridRow.*vector)[2] += 3e-6;
    EXPECT_TRUE(grid == gridOf({rowOf(3), gridRow}));
    (gridRow.*vector)[2] += 5e-6;
    EXPECT_FALSE(grid == gridOf({rowOf(3), gridRow}));
    EXPECT_TRUE(grid != gridOf({rowOf(3), gridRow}));
  }
}

TEST(DistortionGridComparison, AgreesWithNoNaN) {
  GridRow gridRow = rowOf(3);
  gridRow.sigmaRow[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(gridOf({gridRow}) == gridOf({gridRow}));
}

TEST(DistortionGridComparison, TakesChannelAndKindAsTheyAre) {
  EXPECT_FALSE(gridOf({rowOf(3)}, "PAN") == gridOf({rowOf(3)}, "pan"));
  EXPECT_FALSE(gridOf({rowOf(3)}, "PAN") == gridOf({rowOf(3)}, "PAN", true));
}

TEST(DistortionGridComparison, TakesNumberAndLengthOfRows) {
  EXPECT_FALSE(gridOf({rowOf(3)}) == gridOf({rowOf(3), rowOf(3)}));
  EXPECT_FALSE(gridOf({rowOf(3), rowOf(3)}) == gridOf({rowOf(3)}));
  EXPECT_FALSE(gridOf({rowOf(3)}) == gridOf({rowOf(4)}));
  EXPECT_FALSE(gridOf({rowOf(4)}) == gridOf({rowOf(3)}));
}

TEST(DistortionGridComparison, TakesRastersOfDifferencesToFourDecimals) {
  using Setter = void (DistortionGrid::*)(double);
  DistortionGrid const grid = gridOf({rowOf(3)}, "PAN", true);
  for (Setter set : {&DistortionGrid::setRowStart, &DistortionGrid::setRowSpacing, &DistortionGrid::setColumnStart,
                     &DistortionGrid::setColumnSpacing}) {
    DistortionGrid other = grid;
    (other.*set)(3e-5);
    EXPECT_TRUE(grid == other);
    (other.*set)(8e-5);
    EXPECT_FALSE(grid == other);
  }
}

TEST(DistortionGridComparison, TakesDifferencesToFiveDecimals) {
  GridRow gridRow = rowOf(3);
  gridRow.column[1] += 8e-6;
  EXPECT_FALSE(gridOf({rowOf(3)}, "PAN", true) == gridOf({gridRow}, "PAN", true));
}

}  // namespace
