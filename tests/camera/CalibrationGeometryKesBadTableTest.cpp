// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTables.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>

// Tables and positions that no calibration has: nothing is read outside of a table, and nothing crashes.

namespace {

using sensor::CalibrationGeometryKes;
using test::bentTable;
using test::floatSampleOf;
using test::focalOf;
using test::LineTable;
using test::SameBits;
using test::sampleOf;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Every look-up at places of all kinds.
void lookUpEverywhere(CalibrationGeometryKes const& line) {
  for (double value : {nan,  infinity, -infinity, 1e300, -1e300, 1e10, -1e10, 2147483647.0, 2147483648.0, -2147483648.0,
                       -0.0, 5e-324,   0.5,       1.0,   1.5,    2.0,  3.5,   18.5,         19.0,         19.5}) {
    focalOf(line, value);
    sampleOf(line, value);
    auto const single = static_cast<float>(value);
    line.x(single, 0, 0, 0);
    line.y(single, 0, 0, 0);
    floatSampleOf(line, single);
    line.azimuth({value, 0}, {});
    line.zenith({value, 0}, {});
  }
  line.lookAngle();
}

TEST(CalibrationGeometryKesBadTable, OneEntryIsThePositionOfEverySample) {
  for (int const samples : {0, 1, 5}) {
    CalibrationGeometryKes const line = LineTable{samples, {2.5F}, {7.5F}}.line();
    for (double const sample : {-9.0, 0.0, 3.5, 1e300}) {
      EXPECT_EQ(focalOf(line, sample).x, 2.5);
      EXPECT_EQ(focalOf(line, sample).y, 7.5);
    }
    EXPECT_THAT(line.x(2.0F, 0, 0, 0), SameBits(2.5F));
    EXPECT_THAT(line.y(2.0F, 0, 0, 0), SameBits(7.5F));
    EXPECT_FALSE(line.isReverse());
    EXPECT_TRUE(std::isnan(sampleOf(line, 7.5)));
    EXPECT_TRUE(std::isnan(floatSampleOf(line, 7.5F)));
    lookUpEverywhere(line);
  }
}

TEST(CalibrationGeometryKesBadTable, NoEntriesGiveNaN) {
  CalibrationGeometryKes const filled = LineTable{5, {}, {}}.line();
  for (CalibrationGeometryKes const& line : {filled, CalibrationGeometryKes()}) {
    EXPECT_TRUE(std::isnan(focalOf(line, 0.0).x));
    EXPECT_TRUE(std::isnan(focalOf(line, 3.5).y));
    EXPECT_TRUE(std::isnan(line.x(1.0F, 0, 0, 0)));
    EXPECT_TRUE(std::isnan(sampleOf(line, 0.0)));
    EXPECT_TRUE(std::isnan(floatSampleOf(line, 0.0F)));
    EXPECT_FALSE(line.isReverse());
    lookUpEverywhere(line);
  }
}

TEST(CalibrationGeometryKesBadTable, PositionThatIsNoNumberGivesNone) {
  for (LineTable const& table : {bentTable(20, 20), bentTable(17, 9), bentTable(20, 20).reversed()}) {
    CalibrationGeometryKes const line = table.line();
    EXPECT_TRUE(std::isnan(focalOf(line, nan).x));
    EXPECT_TRUE(std::isnan(focalOf(line, nan).y));
    EXPECT_TRUE(std::isnan(line.x(static_cast<float>(nan), 0, 0, 0)));
    EXPECT_TRUE(std::isnan(sampleOf(line, nan)));
    EXPECT_TRUE(std::isnan(floatSampleOf(line, static_cast<float>(nan))));
    EXPECT_TRUE(std::isinf(focalOf(line, infinity).x));
    lookUpEverywhere(line);
  }
}

// Equal neighbours make slopes infinite, and a first entry like the last makes the mean scale so.
TEST(CalibrationGeometryKesBadTable, EntriesThatAreEqualOrNoNumbersAreSafe) {
  auto const f = [](double value) { return static_cast<float>(value); };
  for (std::vector<float> const& y : {std::vector<float>{0, 1, 1, 3},
                                      {0, 0, 3, 3},
                                      {0, 5, -5, 0},
                                      {2, 2, 2, 2},
                                      {0, f(nan), 2, 3},
                                      {f(nan), 1, 2, f(nan)},
                                      {-f(infinity), 1, 2, f(infinity)},
                                      {0, 1e38F, -1e38F, 3},
                                      {0, 3e38F, -3e38F, 3}}) {
    for (int const samples : {4, 7, 20}) {
      CalibrationGeometryKes const line = LineTable{samples, {1, 2, 3, 4}, y}.line();
      lookUpEverywhere(line);
      for (double place = -1.0; place < 4.0; place += 0.0625) {
        sampleOf(line, place);
        floatSampleOf(line, static_cast<float>(place));
      }
    }
  }
}

TEST(CalibrationGeometryKesBadTable, EntryThatIsNotFiniteHarmsNoOther) {
  for (double const last : {infinity, nan}) {
    CalibrationGeometryKes const line = LineTable{3, {1, 2, static_cast<float>(last)}, {0, 1, 2}}.line();
    EXPECT_EQ(focalOf(line, 0.0).x, 1.0);
    EXPECT_EQ(focalOf(line, 0.5).x, 1.5);
  }
}

TEST(CalibrationGeometryKesBadTable, CountsOfSamplesThatAreNoneAreSafe) {
  constexpr int most = std::numeric_limits<int>::max();
  constexpr int least = std::numeric_limits<int>::min();
  for (int const samples : {least, -1, 0, 1, 2, most}) {
    LineTable const table{samples, {1, 2, 3}, {4, 5, 6}};
    lookUpEverywhere(table.line());
    lookUpEverywhere(table.reversed().line());
  }
  EXPECT_EQ((LineTable{most, {1, 2}, {4, 5}}.line().numSamples()), 2147483647U);
}

TEST(CalibrationGeometryKesBadTable, TablesOfUnequalLengthsAreReplacedAndRefused) {
  CalibrationGeometryKes line = bentTable(20, 20).reversed().line();
  EXPECT_MESSAGE(line.setPixelData(1.0F, 3, 3, std::vector<float>{1, 2, 3}, std::vector<float>{4, 5}),
                 "Disagreement in the number of calibrated pixels.");
  EXPECT_EQ(line.coordX(2), 3.0F);
  EXPECT_EQ(line.coordY(1), 5.0F);
  EXPECT_EQ(line.numSamples(), 20U);
  EXPECT_EQ(line.numImagingSamples(), 20U);
  EXPECT_EQ(line.pixelSize(), 6.5e-6F);
  EXPECT_TRUE(line.isReverse());
}

TEST(CalibrationGeometryKesBadTable, DoubleTablesOfUnequalLengthsAreRefusedAlike) {
  CalibrationGeometryKes line;
  EXPECT_MESSAGE(line.setPixelData(1.0F, 3, 3, std::vector<double>{1, 2}, std::vector<double>{4, 5, 6}),
                 "Disagreement in the number of calibrated pixels.");
  EXPECT_EQ(line.coordY(2), 6.0F);
}

TEST(CalibrationGeometryKesBadTable, RefusedTablesAreSafeToLookUp) {
  std::vector<float> const sizes[]{{}, {1}, {1, 2}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}};
  for (std::vector<float> const& x : sizes) {
    for (std::vector<float> const& y : sizes) {
      CalibrationGeometryKes line = bentTable(20, 20).line();
      if (x.size() != y.size()) {
        EXPECT_THROW(line.setPixelData(1.0F, 3, 3, x, y), std::runtime_error);
      }
      lookUpEverywhere(line);
    }
  }
}

}  // namespace
