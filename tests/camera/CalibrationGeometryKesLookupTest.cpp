// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTables.h"
#include "support/Matchers.h"

#include <cmath>
#include <random>

namespace {

using sensor::CalibrationGeometryKes;
using test::bentTable;
using test::floatSampleOf;
using test::focalOf;
using test::LineTable;
using test::SameBits;
using test::sampleOf;

double between(float a, float b, double w) {
  return static_cast<double>(b - a) * w + static_cast<double>(a);
}

TEST(CalibrationGeometryKesLookup, FullTableIsLinearBetweenNeighbours) {
  LineTable const table = bentTable(20, 20);
  geo::XYPoint const focal = focalOf(table.line(), 10.5);
  EXPECT_EQ(focal.x, between(table.x[10], table.x[11], 0.5));
  EXPECT_EQ(focal.y, between(table.y[10], table.y[11], 0.5));
}

TEST(CalibrationGeometryKesLookup, OffsetCountsFromTheCalibration) {
  CalibrationGeometryKes const line = bentTable(20, 20).line();
  EXPECT_EQ(focalOf(line, 3.25, 7.0).x, focalOf(line, 10.25).x);
  EXPECT_EQ(sampleOf(line, focalOf(line, 10.25).y, 7.0), sampleOf(line, focalOf(line, 10.25).y) - 7.0);
  EXPECT_THAT(line.x(3.25F, 1.0F, 7.0F, 2.0F), SameBits(line.x(10.25F, 0, 0, 0)));
  EXPECT_THAT(line.y(3.25F, 1.0F, 7.0F, 2.0F), SameBits(line.y(10.25F, 0, 0, 0)));
  EXPECT_THAT(floatSampleOf(line, 1.5F, 7.0F), SameBits(floatSampleOf(line, 1.5F) - 7.0F));
}

TEST(CalibrationGeometryKesLookup, PointsMayBeOneObject) {
  CalibrationGeometryKes const line = bentTable(20, 20).line();
  geo::XYPoint point(3.25, 7.0);
  line.imageToFocal(point, point, point);
  EXPECT_EQ(point.x, focalOf(line, 6.5).x);
  EXPECT_EQ(point.y, focalOf(line, 6.5).y);
  double const sample = sampleOf(line, 1.5, 7.0);
  point = {7.0, 1.5};
  line.focalToImage(point, point, point);
  EXPECT_EQ(point.x, sample);
}

TEST(CalibrationGeometryKesLookup, SampleHalfAPixelBeforeTheLineLiesOnTheChord) {
  LineTable const table = bentTable(20, 20);
  EXPECT_EQ(focalOf(table.line(), -0.5).x, between(table.x[0], table.x[19], -0.5 / 19));
  EXPECT_EQ(focalOf(table.line(), -0.5).y, between(table.y[0], table.y[19], -0.5 / 19));
}

TEST(CalibrationGeometryKesLookup, SampleBehindTheLineLiesOnTheChord) {
  LineTable const table = bentTable(20, 20);
  EXPECT_EQ(focalOf(table.line(), 25.0).x, between(table.x[0], table.x[19], 25.0 / 19));
  EXPECT_EQ(focalOf(table.line(), 19.25).y, between(table.y[0], table.y[19], 19.25 / 19));
}

TEST(CalibrationGeometryKesLookup, LastSampleIsTheLastEntry) {
  LineTable const table = bentTable(20, 20);
  EXPECT_EQ(focalOf(table.line(), 19.0).x, static_cast<double>(table.x[19]));
  EXPECT_EQ(focalOf(table.line(), 19.0).y, static_cast<double>(table.y[19]));
}

// As a float this sample would be the last one, which lies on the chord.
TEST(CalibrationGeometryKesLookup, SampleJustBeforeTheLastLiesInTheLastInterval) {
  LineTable const table = bentTable(20, 20);
  double const sample = 19.0 - 1e-12;
  EXPECT_EQ(focalOf(table.line(), sample).x, between(table.x[18], table.x[19], sample - 18.0));
  EXPECT_NE(focalOf(table.line(), sample).x, between(table.x[0], table.x[19], sample / 19.0));
}

// Nine entries for 17 samples: an entry every second sample.
TEST(CalibrationGeometryKesLookup, SparseTableIsStretchedOverTheLine) {
  LineTable const table = bentTable(17, 9);
  CalibrationGeometryKes const line = table.line();
  EXPECT_EQ(focalOf(line, 5.0).x, between(table.x[2], table.x[3], 0.5));
  EXPECT_EQ(focalOf(line, 16.0).x, static_cast<double>(table.x[8]));
  EXPECT_EQ(focalOf(line, 17.0).x, between(table.x[0], table.x[8], 17.0 / 16));
  EXPECT_EQ(focalOf(line, -1.0).x, between(table.x[0], table.x[8], -1.0 / 16));
  // Three entries for four samples: an entry every one and a half.
  EXPECT_EQ(focalOf(LineTable{4, {0, 2, 6}, {0, 1, 2}}.line(), 1.5).x, 2.0);
}

TEST(CalibrationGeometryKesLookup, TableDifferenceIsTakenInFloat) {
  LineTable const table{2, {1.0F, 1e-9F}, {16777216.0F, -1.0F}};
  EXPECT_EQ(focalOf(table.line(), 0.5).x, between(1.0F, 1e-9F, 0.5));
  EXPECT_NE(focalOf(table.line(), 0.5).x, (1.0 + static_cast<double>(1e-9F)) / 2);
}

// Samples 0 to 4; the mean scale is 4 / 8.
LineTable fiveEntries(std::vector<float> const& y) {
  return {5, {0, 0, 0, 0, 0}, y};
}

void expectSample(LineTable const& table, double y, double sample) {
  SCOPED_TRACE(y);
  EXPECT_EQ(sampleOf(table.line(), y), sample);
  EXPECT_EQ(floatSampleOf(table.line(), static_cast<float>(y)), static_cast<float>(sample));
}

TEST(CalibrationGeometryKesLookup, EntryOfTheMeanScaleIsCorrectedByTheLocalSlope) {
  // 2.5 has q = 1.25, so k = 1; 1.5 entries further m = 2, and 2.5 lies a quarter of the way from 2 to 4.
  expectSample(fiveEntries({0, 1, 2, 4, 8}), 2.5, 2.25);
  // 5 has q = 2.5, so k = 2; one entry back m = 1, and 5 lies in the middle of 4 and 6.
  expectSample(fiveEntries({0, 4, 6, 7, 8}), 5.0, 1.5);
}

TEST(CalibrationGeometryKesLookup, CorrectionIsMadeOnce) {
  // 3 has q = 1.5, so k = 1; two entries further m = 3, which is one too far: 3 + (3 - 4) / (8 - 4).
  expectSample(fiveEntries({0, 1, 2, 4, 8}), 3.0, 2.75);
}

TEST(CalibrationGeometryKesLookup, CorrectionIsTruncatedTowardsNoStep) {
  // 5.5 has q = 2.75, so k = 2; half an entry back is none: 2 + (5.5 - 6) / (7 - 6).
  expectSample(fiveEntries({0, 4, 6, 7, 8}), 5.5, 1.5);
}

TEST(CalibrationGeometryKesLookup, CorrectionEndsAtTheFirstAndTheLastInterval) {
  // 3 has q = 1.5, so k = 1; three entries back would be -2: 3 / 6 in the first interval.
  expectSample(fiveEntries({0, 6, 7, 7.5F, 8}), 3.0, 0.5);
  // 4.5 has q = 2.25, so k = 2; six entries further would be 8: (4.5 - 1.5) / 6.5 + 3 in the last interval.
  LineTable const table = fiveEntries({0, 0.5F, 1, 1.5F, 8});
  EXPECT_EQ(sampleOf(table.line(), 4.5), 3.0 / 6.5 + 3.0);
  EXPECT_THAT(floatSampleOf(table.line(), 4.5F), SameBits(3.0F / 6.5F + 3.0F));
}

TEST(CalibrationGeometryKesLookup, SparseTableCorrectsInEntriesAndAnswersInSamples) {
  // Nine samples, two to an entry, mean scale 1. 2.5 has k = 2.5 / 2 = 1, m = 2: 2.25 entries.
  expectSample({9, {0, 0, 0, 0, 0}, {0, 1, 2, 4, 8}}, 2.5, 4.5);
}

TEST(CalibrationGeometryKesLookup, ReverseLineIsCorrectedLikewise) {
  // The first case of above, mirrored.
  expectSample(fiveEntries({0, -1, -2, -4, -8}), -2.5, 2.25);
  // 5 has q = 1.5, so k = 1; half an entry back is none: 1 + (5 - 4) / (2 - 4).
  expectSample(fiveEntries({8, 4, 2, 1, 0}), 5.0, 0.5);
}

TEST(CalibrationGeometryKesLookup, BothEndsOfTheLineHaveTheMeanScale) {
  // The scale 4 / 3 isn't a float, so that the last entry shows which way was taken: the table would give 4.
  LineTable const table = fiveEntries({1, 1.5F, 2, 3, 4});
  float const scale = 4.0F / 3.0F;
  EXPECT_EQ(sampleOf(table.line(), 1.0, 3.0), -3.0);
  EXPECT_EQ(floatSampleOf(table.line(), 1.0F, 3.0F), -3.0F);
  EXPECT_NE(3.0 * static_cast<double>(scale), 4.0);
  EXPECT_EQ(sampleOf(table.line(), 4.0), 3.0 * static_cast<double>(scale));
  EXPECT_THAT(floatSampleOf(table.line(), 4.0F), SameBits(3.0F * scale));
}

TEST(CalibrationGeometryKesLookup, BeyondTheEndsTheMeanScaleGoesOn) {
  LineTable const table = fiveEntries({1, 1.5F, 2, 3, 4});
  float const scale = 4.0F / 3.0F;
  for (float const y : {-7.0F, 0.75F, 4.25F, 900.0F}) {
    EXPECT_EQ(sampleOf(table.line(), static_cast<double>(y), 0.5),
              (static_cast<double>(y) - 1.0) * static_cast<double>(scale) - 0.5);
    EXPECT_THAT(floatSampleOf(table.line(), y, 0.5F), SameBits((y - 1.0F) * scale - 0.5F));
  }
}

TEST(CalibrationGeometryKesLookup, TwoEntriesAreAStraightLine) {
  LineTable const table{11, {2, 6}, {-1, 4}};
  expectSample(table, 2.0, 6.0);
  expectSample(table, -0.5, 1.0);
  EXPECT_EQ(focalOf(table.line(), 7.5).x, 5.0);
  EXPECT_EQ(focalOf(table.line(), 15.0).x, 2.0 + 4.0 * 1.5);
  EXPECT_EQ(focalOf(table.line(), -5.0).x, 2.0 - 4.0 * 0.5);
}

// 2^24 + 1 samples: their count less one is 2^24, but as a float less one it would be 2^24 - 1, the mean scale.
TEST(CalibrationGeometryKesLookup, EndOfALongLineIsTakenInDouble) {
  LineTable const table{16777217, {0, 1}, {0, 1}};
  EXPECT_EQ(sampleOf(table.line(), 1.0), 16777216.0);
  EXPECT_EQ(floatSampleOf(table.line(), 1.0F), 16777215.0F);
}

// Eleven samples less one over three entries less one aren't a float: rounded down, as here, the last samples of the
// line would lie behind the last interval.
TEST(CalibrationGeometryKesLookup, RoundedSpacingDoesntLeadBehindTheLastInterval) {
  LineTable table{12000, {}, {}};
  for (int i = 0; i < 1201; ++i) {
    table.x.push_back(0.0F);
    table.y.push_back(static_cast<float>(i));
  }
  auto const spacing = static_cast<double>(11999.0F / 1200.0F);
  double const y = 1200.00001;
  ASSERT_LT(y * spacing, 11999.0);
  EXPECT_EQ(sampleOf(table.line(), y), (y - 1199.0 + 1199.0) * spacing);
}

}  // namespace
