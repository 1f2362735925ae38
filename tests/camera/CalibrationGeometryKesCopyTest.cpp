// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTables.h"
#include "support/Matchers.h"

#include <QDateTime>

#include <cmath>
#include <limits>

namespace {

using sensor::CalibrationGeometryKes;
using test::bentTable;
using test::focalOf;
using test::LineTable;
using test::SameBits;
using test::sampleOf;

// A line with all that a copy has to take.
CalibrationGeometryKes fullLine(LineTable const& table, int imaging) {
  CalibrationGeometryKes line;
  line.setCalibSource("Test bench");
  line.setSensorId("30107");
  line.setBandId("PANF27A");
  line.setFileName("PANF27A.cam");
  line.setCalibDateTime(QDateTime::fromSecsSinceEpoch(100));
  line.setFocalLength(0.0627F);
  line.setPixelData(6.5e-6F, table.samples, imaging, table.x, table.y);
  return line;
}

void expectIdentity(CalibrationGeometryKes const& copy) {
  EXPECT_EQ(copy.calibSource(), "Test bench");
  EXPECT_EQ(copy.sensorId(), "30107");
  EXPECT_EQ(copy.bandId(), "PANF27A");
  EXPECT_EQ(copy.fileName(), "PANF27A.cam");
  EXPECT_EQ(copy.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(copy.focalLength(), 0.0627F);
  EXPECT_EQ(copy.pixelSize(), 6.5e-6F);
}

void expectSameLookUps(CalibrationGeometryKes const& copy, CalibrationGeometryKes const& source) {
  for (double const place : {-2.5, 0.0, 1.75, 7.0, 15.99, 16.0, 30.0}) {
    EXPECT_EQ(focalOf(copy, place).x, focalOf(source, place).x);
    EXPECT_EQ(focalOf(copy, place).y, focalOf(source, place).y);
    EXPECT_EQ(sampleOf(copy, place), sampleOf(source, place));
  }
}

TEST(CalibrationGeometryKesCopy, CopyIsAlikeButCountsAllSamplesAsImaging) {
  for (LineTable const& table : {bentTable(17, 9), bentTable(17, 17).reversed()}) {
    CalibrationGeometryKes const source = fullLine(table, 12);
    CalibrationGeometryKes const copy(source);
    expectIdentity(copy);
    expectSameLookUps(copy, source);
    EXPECT_EQ(copy.isReverse(), source.isReverse());
    EXPECT_EQ(copy.numSamples(), 17U);
    EXPECT_EQ(copy.numImagingSamples(), 17U);
  }
}

TEST(CalibrationGeometryKesCopy, AssignmentTakesEverything) {
  for (LineTable const& table : {bentTable(17, 9), bentTable(17, 17).reversed()}) {
    CalibrationGeometryKes const source = fullLine(table, 12);
    CalibrationGeometryKes assigned = bentTable(5, 5).line();
    assigned = source;
    expectIdentity(assigned);
    expectSameLookUps(assigned, source);
    EXPECT_EQ(assigned.isReverse(), source.isReverse());
    EXPECT_EQ(assigned.numSamples(), 17U);
    EXPECT_EQ(assigned.numImagingSamples(), 12U);
  }
}

TEST(CalibrationGeometryKesCopy, AssignmentToItselfChangesNothing) {
  LineTable const table = bentTable(17, 9);
  CalibrationGeometryKes line = fullLine(table, 12);
  CalibrationGeometryKes const& same = line;
  line = same;
  expectIdentity(line);
  expectSameLookUps(line, table.line());
}

TEST(CalibrationGeometryKesCopy, CopiesHaveDatesAndTablesOfTheirOwn) {
  LineTable const table = bentTable(3, 3);
  CalibrationGeometryKes line = fullLine(table, 3);
  CalibrationGeometryKes const copy(line);
  CalibrationGeometryKes const cut(line, 1, 2);
  CalibrationGeometryKes assigned;
  assigned = line;
  line.setCalibDateTime(QDateTime::fromSecsSinceEpoch(200));
  line.shiftX(7.0F);
  EXPECT_EQ(copy.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(cut.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(assigned.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(copy.coordX(1), table.x[1]);
  EXPECT_EQ(cut.coordX(0), table.x[1]);
  EXPECT_EQ(assigned.coordX(1), table.x[1]);
}

TEST(CalibrationGeometryKesCopy, CopiesOfALineWithoutADateHaveNone) {
  CalibrationGeometryKes const line = bentTable(20, 20).line();
  EXPECT_TRUE(CalibrationGeometryKes(line).calibDateTime().isNull());
  EXPECT_TRUE(CalibrationGeometryKes(line, 3, 4).calibDateTime().isNull());
}

TEST(CalibrationGeometryKesCopy, CutOutToTheEndHasAnEntryASample) {
  LineTable const table = bentTable(1000, 1000);
  CalibrationGeometryKes const cut(fullLine(table, 990), 100);
  expectIdentity(cut);
  EXPECT_EQ(cut.numSamples(), 900U);
  EXPECT_EQ(cut.numImagingSamples(), 900U);
  EXPECT_FALSE(cut.isReverse());
  // The last sample comes from the chord, which ends in the last entry but for the rounding of its way.
  for (unsigned i = 0; i < 899; ++i) {
    EXPECT_THAT(cut.coordX(i), SameBits(table.x[100 + i]));
    EXPECT_THAT(cut.coordY(i), SameBits(table.y[100 + i]));
  }
  EXPECT_THAT(cut.coordY(899), test::WithinUlps(table.y[999], 1));
}

// Entries 2.5, 3.5 and 4.5 of the source, two samples to an entry.
TEST(CalibrationGeometryKesCopy, CutOutOfASparseTableIsResampled) {
  LineTable const table{9, {0, 1, 4, 9, 16}, {10, 8, 5, 1, -4}};
  CalibrationGeometryKes const cut(table.line(), 3, 4);
  EXPECT_EQ(cut.numSamples(), 4U);
  float const x[]{2.5F, 4.0F, 6.5F, 9.0F};
  float const y[]{6.5F, 5.0F, 3.0F, 1.0F};
  for (unsigned i = 0; i < 4; ++i) {
    EXPECT_EQ(cut.coordX(i), x[i]);
    EXPECT_EQ(cut.coordY(i), y[i]);
  }
  EXPECT_TRUE(cut.isReverse());
  EXPECT_EQ(focalOf(cut, 1.5).y, 4.0);
  EXPECT_EQ(sampleOf(cut, 4.0), 1.5);
}

TEST(CalibrationGeometryKesCopy, CutOutHasAMeanScaleOfItsOwn) {
  LineTable const table{5, {0, 0, 0, 0, 0}, {0, 1, 3, 7, 15}};
  // From 3 to 15 in two steps.
  CalibrationGeometryKes const cut(table.line(), 2, 3);
  EXPECT_EQ(sampleOf(cut, 27.0), 24.0 * static_cast<double>(2.0F / 12.0F));
  // From 3 to 7 in one step.
  EXPECT_EQ(sampleOf(CalibrationGeometryKes(table.line(), 2, 2), 27.0), 24.0 / 4.0);
}

TEST(CalibrationGeometryKesCopy, CutOutMayReachBeyondTheLine) {
  LineTable const table = bentTable(20, 20);
  CalibrationGeometryKes const source = table.line();
  CalibrationGeometryKes const cut(source, -3, 30);
  EXPECT_EQ(cut.numSamples(), 30U);
  EXPECT_THAT(cut.coordX(3), SameBits(table.x[0]));
  EXPECT_THAT(cut.coordX(0), SameBits((table.x[19] - table.x[0]) * (-3.0F / 19.0F) + table.x[0]));
  EXPECT_THAT(cut.coordX(29), SameBits((table.x[19] - table.x[0]) * (26.0F / 19.0F) + table.x[0]));
}

TEST(CalibrationGeometryKesCopy, CutOutOfAllSamplesIsACopyWhereverItBegins) {
  LineTable const table = bentTable(17, 9);
  CalibrationGeometryKes const cut(table.line(), 5, 17);
  EXPECT_EQ(cut.coordX(8), table.x[8]);
  expectSameLookUps(cut, table.line());
}

TEST(CalibrationGeometryKesCopy, CutOutOfOneSampleIsItsEntry) {
  LineTable const table = bentTable(17, 17);
  CalibrationGeometryKes const cut(table.line(), 4, 1);
  EXPECT_EQ(cut.numSamples(), 1U);
  EXPECT_EQ(focalOf(cut, 9.0).x, static_cast<double>(table.x[4]));
  EXPECT_TRUE(std::isnan(sampleOf(cut, 0.0)));
}

TEST(CalibrationGeometryKesCopy, CutOutOfNoSampleOrFewerIsEmpty) {
  constexpr int most = std::numeric_limits<int>::max();
  CalibrationGeometryKes const source = bentTable(17, 17).line();
  for (CalibrationGeometryKes const& cut :
       {CalibrationGeometryKes(source, 17), CalibrationGeometryKes(source, 30), CalibrationGeometryKes(source, most),
        CalibrationGeometryKes(source, 0, -5)}) {
    EXPECT_EQ(cut.numSamples(), 0U);
    EXPECT_EQ(cut.numImagingSamples(), 0U);
    EXPECT_TRUE(std::isnan(focalOf(cut, 0.0).x));
    EXPECT_TRUE(std::isnan(sampleOf(cut, 0.0)));
  }
}

TEST(CalibrationGeometryKesCopy, CutOutOfAnEmptyLineIsEmpty) {
  CalibrationGeometryKes const cut(CalibrationGeometryKes(), 0, 3);
  EXPECT_EQ(cut.numSamples(), 3U);
  EXPECT_TRUE(std::isnan(cut.coordX(2)));
}

}  // namespace
