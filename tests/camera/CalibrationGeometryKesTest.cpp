#include "support/Matchers.h"

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometryKes.h>

#include <QDateTime>

#include <cmath>
#include <limits>
#include <random>

namespace {

using sensor::CalibrationGeometryKes;
using test::SameBits;

// Entry i: x rises by squares, y by thirds with growing steps, so that no two intervals are alike.
float tableX(int i) {
  return 0.5F + 0.25F * static_cast<float>(i * i);
}

float tableY(int i) {
  return -3.0F + static_cast<float>(i) + 0.001F * static_cast<float>(i * i);
}

CalibrationGeometryKes lineOf(int samples, int entries, bool reverse = false) {
  std::vector<float> xs;
  std::vector<float> ys;
  for (int i = 0; i < entries; ++i) {
    xs.push_back(tableX(i));
    ys.push_back(tableY(reverse ? entries - 1 - i : i));
  }
  CalibrationGeometryKes line;
  line.setBandId("PANF27A");
  line.setFocalLength(0.0627F);
  line.setPixelData(6.5e-6F, samples, samples - 2, xs, ys);
  return line;
}

geo::XYPoint focalOf(CalibrationGeometryKes const& line, double sample, double offset = 0.0) {
  geo::XYPoint focal(9, 9);
  line.imageToFocal({sample, 77.0}, {offset, 55.0}, focal);
  return focal;
}

double sampleOf(CalibrationGeometryKes const& line, double y, double offset = 0.0) {
  geo::XYPoint image(9, 44.0);
  line.focalToImage({1e9, y}, {offset, 55.0}, image);
  EXPECT_EQ(image.y, 44.0);
  return image.x;
}

double between(float a, float b, double w) {
  return static_cast<double>(b - a) * w + static_cast<double>(a);
}

TEST(CalibrationGeometryKes, FreshOneIsEmpty) {
  CalibrationGeometryKes const line;
  EXPECT_EQ(line.bandId(), "Unknown");
  EXPECT_EQ(line.sensorId(), "Unknown");
  EXPECT_EQ(line.calibSource(), "Unknown");
  EXPECT_EQ(line.fileName(), "");
  EXPECT_EQ(line.focalLength(), 0.0F);
  EXPECT_EQ(line.pixelSize(), 0.0F);
  EXPECT_EQ(line.numSamples(), 0U);
  EXPECT_EQ(line.numLines(), 1U);
  EXPECT_FALSE(line.isReverse());
  EXPECT_TRUE(line.calibDateTime().isNull());
}

TEST(CalibrationGeometryKes, FullTableIsLinearBetweenNeighbours) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  geo::XYPoint const focal = focalOf(line, 10.5);
  EXPECT_EQ(focal.x, between(tableX(10), tableX(11), 0.5));
  EXPECT_EQ(focal.y, between(tableY(10), tableY(11), 0.5));
  EXPECT_EQ(line.numImagingSamples(), 18U);
}

TEST(CalibrationGeometryKes, OffsetCountsFromTheCalibration) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  EXPECT_EQ(focalOf(line, 3.25, 7.0).x, focalOf(line, 10.25).x);
  EXPECT_DOUBLE_EQ(sampleOf(line, focalOf(line, 10.25).y, 7.0), 3.25);
}

TEST(CalibrationGeometryKes, OutsideTheTableSamplesLieOnTheChord) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  EXPECT_EQ(focalOf(line, -0.5).y, between(tableY(0), tableY(19), -0.5 / 19));
  EXPECT_EQ(focalOf(line, -0.5).x, between(tableX(0), tableX(19), -0.5 / 19));
  EXPECT_EQ(focalOf(line, 25.0).x, between(tableX(0), tableX(19), 25.0 / 19));
}

TEST(CalibrationGeometryKes, LastSampleIsTheLastEntry) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  EXPECT_EQ(focalOf(line, 19.0).x, static_cast<double>(tableX(19)));
  EXPECT_EQ(focalOf(line, 19.0).y, static_cast<double>(tableY(19)));
}

// Nine entries for 17 samples: an entry every second sample.
TEST(CalibrationGeometryKes, SparseTableIsStretchedOverTheLine) {
  CalibrationGeometryKes const line = lineOf(17, 9);
  EXPECT_EQ(focalOf(line, 5.0).x, between(tableX(2), tableX(3), 0.5));
  EXPECT_EQ(focalOf(line, 16.0).x, static_cast<double>(tableX(8)));
  EXPECT_EQ(focalOf(line, 17.0).x, between(tableX(0), tableX(8), 17.0 / 16));
  for (double sample = 0.125; sample < 16.0; sample += 0.25) {
    EXPECT_NEAR(sampleOf(line, focalOf(line, sample).y), sample, 1e-9);
  }
}

TEST(CalibrationGeometryKes, SinglePrecisionFormsFollowTheSameFormula) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  EXPECT_THAT(line.x(10.25F, 5.0F, 1.0F, 5.0F), SameBits((tableX(12) - tableX(11)) * (11.25F - 11.0F) + tableX(11)));
  EXPECT_THAT(line.y(10.25F, 5.0F, 1.0F, 5.0F), SameBits((tableY(12) - tableY(11)) * (11.25F - 11.0F) + tableY(11)));
  EXPECT_THAT(line.y(-1.0F, 0, 0, 0), SameBits((tableY(19) - tableY(0)) * (-1.0F / 19.0F) + tableY(0)));
  float const y = line.y(10.25F, 0, 0, 0);
  EXPECT_THAT(line.sample(9.0F, y, 2.0F, 9.0F),
              SameBits(((y - tableY(10)) / (tableY(11) - tableY(10)) + 10.0F) * 1.0F - 2.0F));
}

TEST(CalibrationGeometryKes, EndsOfTheLineHaveTheMeanScale) {
  CalibrationGeometryKes const line = lineOf(20, 20);
  float const scale = (20.0F - 1.0F) / (tableY(19) - tableY(0));
  EXPECT_EQ(sampleOf(line, static_cast<double>(tableY(0)), 3.0), -3.0);
  double const beyond = static_cast<double>(tableY(19)) + 2.0;
  EXPECT_EQ(sampleOf(line, beyond), (beyond - static_cast<double>(tableY(0))) * static_cast<double>(scale));
  EXPECT_EQ(sampleOf(line, -10.0), (-10.0 - static_cast<double>(tableY(0))) * static_cast<double>(scale));
}

TEST(CalibrationGeometryKes, ReverseLineRoundTrips) {
  CalibrationGeometryKes const line = lineOf(20, 20, true);
  EXPECT_TRUE(line.isReverse());
  for (double sample = 0.25; sample < 19.0; sample += 0.5) {
    EXPECT_NEAR(sampleOf(line, focalOf(line, sample).y), sample, 1e-9);
    float const y = line.y(static_cast<float>(sample), 0, 0, 0);
    EXPECT_NEAR(line.sample(0, y, 0, 0), static_cast<float>(sample), 1e-4F);
  }
}

// The mean scale guesses one entry too far near the middle of a bent table; one correction mends that.
TEST(CalibrationGeometryKes, SmoothTablesOfManyShapesRoundTrip) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    std::mt19937 random(seed);
    double const bend = (static_cast<double>(random() % 1000) - 500.0) * 2e-7;
    std::vector<double> xs;
    std::vector<double> ys;
    for (int i = 0; i < 2000; ++i) {
      double const u = i / 1999.0 - 0.5;
      xs.push_back(0.01 + 1e-4 * u * u);
      ys.push_back((u + bend * u * u * u) * 0.013);
    }
    CalibrationGeometryKes line;
    line.setPixelData(6.5e-6F, 2000, 2000, xs, ys);
    for (double sample = 0.5; sample < 1999.0; sample += 13.37) {
      EXPECT_NEAR(sampleOf(line, focalOf(line, sample).y), sample, 1e-6) << "seed " << seed;
    }
  }
}

TEST(CalibrationGeometryKes, TwoEntriesAreAStraightLine) {
  CalibrationGeometryKes const line = lineOf(11, 2);
  EXPECT_NEAR(sampleOf(line, focalOf(line, 7.5).y), 7.5, 1e-6);
  EXPECT_EQ(focalOf(line, 7.5).x, between(tableX(0), tableX(1), 0.75));
}

TEST(CalibrationGeometryKes, FewerThanTwoEntriesHaveAPositionAtMost) {
  CalibrationGeometryKes const one = lineOf(5, 1);
  EXPECT_EQ(focalOf(one, 3.5).x, static_cast<double>(tableX(0)));
  EXPECT_EQ(focalOf(one, -9.0).y, static_cast<double>(tableY(0)));
  EXPECT_THAT(one.x(2.0F, 0, 0, 0), SameBits(tableX(0)));
  CalibrationGeometryKes const none = lineOf(5, 0);
  EXPECT_TRUE(std::isnan(focalOf(none, 3.5).x));
  for (CalibrationGeometryKes const& line : {one, none}) {
    EXPECT_FALSE(line.isReverse());
    EXPECT_TRUE(std::isnan(sampleOf(line, 0.0)));
    EXPECT_TRUE(std::isnan(line.sample(0, 0, 0, 0)));
  }
}

TEST(CalibrationGeometryKes, SamplesThatAreNoPlaceDontLeaveTheTable) {
  double const infinity = std::numeric_limits<double>::infinity();
  double const nan = std::numeric_limits<double>::quiet_NaN();
  for (CalibrationGeometryKes const& line : {lineOf(20, 20), lineOf(17, 9), lineOf(20, 20, true)}) {
    EXPECT_TRUE(std::isnan(focalOf(line, nan).x));
    EXPECT_TRUE(std::isnan(sampleOf(line, nan)));
    for (double const value : {infinity, -infinity, 1e300, -1e300, 2147483647.0, -2147483648.0}) {
      focalOf(line, value);
      sampleOf(line, value);
      line.x(static_cast<float>(value), 0, 0, 0);
      line.sample(0, static_cast<float>(value), 0, 0);
    }
  }
}

// Equal neighbours give infinite slopes, which must not lead out of the table.
TEST(CalibrationGeometryKes, TableWithEqualEntriesIsSafe) {
  CalibrationGeometryKes line;
  line.setPixelData(1.0F, 4, 4, std::vector<float>{0, 0, 0, 0}, std::vector<float>{0, 1, 1, 3});
  for (double y = -1.0; y < 4.0; y += 0.125) {
    sampleOf(line, y);
    line.sample(0, static_cast<float>(y), 0, 0);
  }
}

TEST(CalibrationGeometryKes, TablesOfUnequalLengthsAreReplacedAndRefused) {
  CalibrationGeometryKes line = lineOf(20, 20);
  EXPECT_MESSAGE(line.setPixelData(1.0F, 3, 3, std::vector<float>{1, 2, 3}, std::vector<float>{4, 5}),
                 "Disagreement in the number of calibrated pixels.");
  EXPECT_EQ(line.coordX(2), 3.0F);
  EXPECT_EQ(line.coordY(1), 5.0F);
  EXPECT_EQ(line.numSamples(), 20U);
}

TEST(CalibrationGeometryKes, DoubleTablesAreRounded) {
  CalibrationGeometryKes line;
  line.setPixelData(1.0F, 2, 2, std::vector<double>{0.1, 0.2}, std::vector<double>{0.3, 0.7});
  EXPECT_THAT(line.coordX(0), SameBits(0.1F));
  EXPECT_THAT(line.coordY(1), SameBits(0.7F));
}

TEST(CalibrationGeometryKes, ScaleOfGetPixelDataAppliesToThePixelSizeAlone) {
  CalibrationGeometryKes line = lineOf(20, 20);
  float pixelSize = 0;
  int samples = 0;
  int imaging = 0;
  std::vector<double> x{1, 2, 3};
  std::vector<double> y;
  line.getPixelData(pixelSize, samples, imaging, x, y, 2.0);
  EXPECT_THAT(pixelSize, SameBits(1.3e-5F));
  EXPECT_EQ(samples, 20);
  EXPECT_EQ(imaging, 18);
  ASSERT_EQ(x.size(), 20U);
  EXPECT_EQ(x[3], static_cast<double>(tableX(3)));
  EXPECT_EQ(y[3], static_cast<double>(tableY(3)));
}

TEST(CalibrationGeometryKes, DirectionsOfViewComeFromTheFocalPosition) {
  CalibrationGeometryKes line;
  line.setFocalLength(2.0F);
  line.setPixelData(1.0F, 3, 3, std::vector<float>{3, 3, 3}, std::vector<float>{-4, 0, 4});
  EXPECT_FLOAT_EQ(line.azimuth({2.0, 0.0}, {}), std::atan2(4.0F, 3.0F));
  EXPECT_FLOAT_EQ(line.zenith({0.0, 0.0}, {}), std::atan(5.0F / 2.0F));
  EXPECT_FLOAT_EQ(line.zenith({0.0, 0.0}, {1.0, 0.0}), std::atan(3.0F / 2.0F));
  EXPECT_FLOAT_EQ(line.lookAngle(), std::atan(3.0F / 2.0F));
}

TEST(CalibrationGeometryKes, ShiftMovesEveryX) {
  CalibrationGeometryKes line = lineOf(3, 3);
  line.shiftX(0.5F);
  EXPECT_EQ(line.coordX(2), tableX(2) + 0.5F);
  EXPECT_EQ(line.coordY(2), tableY(2));
}

TEST(CalibrationGeometryKes, CutOutToTheEndHasAnEntryASample) {
  CalibrationGeometryKes const source = lineOf(1000, 1000);
  CalibrationGeometryKes const cut(source, 100);
  EXPECT_EQ(cut.numSamples(), 900U);
  EXPECT_EQ(cut.numImagingSamples(), 900U);
  EXPECT_EQ(cut.coordX(0), tableX(100));
  EXPECT_EQ(cut.coordY(899), source.y(899.0F, 0, 100.0F, 0));
  EXPECT_EQ(cut.bandId(), "PANF27A");
  EXPECT_EQ(cut.focalLength(), source.focalLength());
}

TEST(CalibrationGeometryKes, CutOutOfASparseTableIsResampled) {
  CalibrationGeometryKes const source = lineOf(17, 9);
  CalibrationGeometryKes const cut(source, 2, 5);
  EXPECT_EQ(cut.numSamples(), 5U);
  for (unsigned i = 0; i < 5; ++i) {
    EXPECT_EQ(cut.coordX(i), source.x(static_cast<float>(i), 0, 2.0F, 0));
  }
}

TEST(CalibrationGeometryKes, CutOutOfAllSamplesIsACopyWhereverItBegins) {
  CalibrationGeometryKes const source = lineOf(17, 9);
  CalibrationGeometryKes const cut(source, 5, 17);
  EXPECT_EQ(cut.coordX(8), tableX(8));
  EXPECT_EQ(focalOf(cut, 3.0).x, focalOf(source, 3.0).x);
}

TEST(CalibrationGeometryKes, CutOutBehindTheLineIsEmpty) {
  CalibrationGeometryKes const cut(lineOf(17, 17), 30);
  EXPECT_TRUE(std::isnan(focalOf(cut, 0.0).x));
  EXPECT_TRUE(std::isnan(sampleOf(cut, 0.0)));
}

TEST(CalibrationGeometryKes, CopyHasADateOfItsOwn) {
  CalibrationGeometryKes line = lineOf(3, 3);
  line.setCalibDateTime(QDateTime::fromSecsSinceEpoch(100));
  CalibrationGeometryKes const copy(line);
  CalibrationGeometryKes assigned;
  assigned = line;
  line.setCalibDateTime(QDateTime::fromSecsSinceEpoch(200));
  EXPECT_EQ(copy.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(assigned.calibDateTime().toSecsSinceEpoch(), 100);
  EXPECT_EQ(assigned.numImagingSamples(), 1U);
}

TEST(CalibrationGeometryKes, NominalMountOffsetIsPublished) {
  EXPECT_EQ(sensor::nominalMNTZOffset, 0.171F);
}

}  // namespace
