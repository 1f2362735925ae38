// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/EOPData.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using sensor::KESStripModel;

// Pixels of 2 m, lines of 1 m; line l is over x = l.
class Solver : public test::SmallModel {
protected:
  static geo::XYPoint solved(KESStripModel const& strip, geo::XYZPoint const& ground, int band = 0) {
    geo::XYPoint image;
    strip.lsrToImage(ground, band, image);
    return image;
  }
};

TEST_F(Solver, PointFromTheImageComesBackToIt) {
  mStrip.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0, true}};
  mStrip.direction = 0.7;
  mStrip.kappaError = 0.05;
  mStrip.roll = 0.02;
  auto const strip = model();
  for (int band = 0; band < 2; ++band) {
    for (double sample = 0.5; sample < 100.0; sample += 24.75) {
      for (double line = 0.25; line < 100.0; line += 19.9) {
        for (float const height : {-50.0F, 0.0F, 300.0F}) {
          geo::XYPoint const image = solved(*strip, ground(*strip, sample, line, height, band), band);
          EXPECT_NEAR(image.x, sample, 0.05);
          EXPECT_NEAR(image.y, line, 0.05);
        }
      }
    }
  }
}

TEST_F(Solver, PointOnTheMiddleLineTakesTwoPasses) {
  auto const strip = model();
  geo::XYPoint image;
  EXPECT_EQ(solveImage(*strip, {50.5, 0.0, 0.0}, 0, image), 2);
  EXPECT_NEAR(image.y, 50.5, 0.05);
  EXPECT_NEAR(image.x, 50.0, 0.05);
}

TEST_F(Solver, CountingPassesDoesntChangeTheResult) {
  auto const strip = model();
  for (double x : {-200.0, 3.0, 50.5, 97.25, 500.0}) {
    geo::XYPoint counted;
    solveImage(*strip, {x, 17.5, 12.0}, 0, counted);
    geo::XYPoint const image = solved(*strip, {x, 17.5, 12.0});
    EXPECT_EQ(image.x, counted.x);
    EXPECT_EQ(image.y, counted.y);
  }
}

TEST_F(Solver, LevelFlightNeedsTwoPassesFromAnywhere) {
  auto const strip = model();
  geo::XYPoint image;
  // The first pass finds the line, the second confirms it.
  EXPECT_EQ(solveImage(*strip, {3.0, 10.0, 0.0}, 0, image), 2);
  EXPECT_NEAR(image.y, 3.0, 1e-3);
}

TEST_F(Solver, PointOutsideTheStripHasALineOutsideTheImage) {
  auto const strip = model();
  EXPECT_NEAR(solved(*strip, {-500.0, 0.0, 0.0}).y, -500.0, 0.1);
  EXPECT_NEAR(solved(*strip, {900.0, 0.0, 0.0}).y, 900.0, 0.1);
  EXPECT_NEAR(solved(*strip, {50.0, 400.0, 0.0}).x, 250.0, 0.1);
}

TEST_F(Solver, PointInThePlaneOfTheCameraEndsWithoutANumberOrFarAway) {
  auto const strip = model();
  geo::XYPoint image;
  EXPECT_LE(solveImage(*strip, {50.0, 30.0, 1000.0}, 0, image), 250);
  EXPECT_FALSE(std::fabs(image.x) < 1e5 && std::fabs(image.y) < 1e5);
}

// A scale that is 1.98 times too large makes each step overshoot to nearly as far on the other side; half of it hits.
TEST_F(Solver, OscillationIsDampedFromTheTwentySecondPassOn) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 1.98F);
  geo::XYPoint image;
  int const passes = solveImage(*strip, {20.0, 0.0, 0.0}, 0, image);
  EXPECT_GT(passes, 22);
  EXPECT_LT(passes, 60);
  EXPECT_NEAR(image.y, 20.0, 0.05);
}

// Four times too large, the halved steps still go from one side to the other, for ever.
TEST_F(Solver, StepsThatDontDieAwayEndAtTheLimitOfPasses) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 4.0F);
  geo::XYPoint image;
  EXPECT_EQ(solveImage(*strip, {20.0, 0.0, 0.0}, 0, image), 250);
}

std::vector<geo::XYZPoint> gridOf(KESStripModel const& strip, float height) {
  std::vector<geo::XYZPoint> points;
  for (double line = 0.0; line <= 100.0; line += 4.0) {
    for (double sample = 0.0; sample <= 100.0; sample += 5.0) {
      geo::XYZPoint point;
      strip.imageToLsr({sample, line}, height, 0, point);
      points.push_back(point);
    }
  }
  return points;
}

TEST_F(Solver, RunAgreesWithSinglePoints) {
  mStrip.bands = {{"PANF27A", 12.0}};
  mStrip.direction = -2.2;
  mStrip.kappaError = -0.03;
  auto const strip = model();
  std::vector<geo::XYZPoint> const points = gridOf(*strip, 40.0F);
  std::vector<geo::XYPoint> run(points.size());
  strip->lsrToImage(points, 0, run);
  for (std::size_t i = 0; i < points.size(); ++i) {
    geo::XYPoint const single = solved(*strip, points[i]);
    EXPECT_NEAR(run[i].x, single.x, 0.05);
    EXPECT_NEAR(run[i].y, single.y, 0.05);
  }
}

TEST_F(Solver, SecondOfTwoIdenticalPointsIsTheFirstOrderResult) {
  auto const strip = model();
  geo::XYZPoint const point = ground(*strip, 30.0, 20.0, 0.0F);
  std::vector<geo::XYPoint> run(3);
  strip->lsrToImage({point, point, point}, 0, run);
  EXPECT_THAT(run[1].y, test::SameBits(run[2].y));
  EXPECT_THAT(run[1].x, test::SameBits(run[2].x));
  EXPECT_NEAR(run[1].y, 20.0, 0.05);
}

TEST_F(Solver, RunWithAnotherFirstHeightComesToTheSamePlace) {
  auto const strip = model();
  std::vector<geo::XYZPoint> points = gridOf(*strip, 0.0F);
  geo::XYZPoint const high = ground(*strip, 50.0, 50.0, 600.0F);
  points.insert(points.begin(), high);
  std::vector<geo::XYPoint> run(points.size());
  strip->lsrToImage(points, 0, run);
  for (std::size_t i = 1; i < points.size(); ++i) {
    geo::XYPoint const single = solved(*strip, points[i]);
    EXPECT_NEAR(run[i].x, single.x, 0.1);
    EXPECT_NEAR(run[i].y, single.y, 0.1);
  }
}

TEST_F(Solver, EmptyRunReturnsAtOnce) {
  auto const strip = model();
  std::vector<geo::XYPoint> image(2, geo::XYPoint(7.0, 8.0));
  strip->lsrToImage(std::vector<geo::XYZPoint>(), 0, image);
  EXPECT_EQ(image[0].x, 7.0);
}

TEST_F(Solver, LongerOutputIsWrittenByIndex) {
  auto const strip = model();
  std::vector<geo::XYPoint> image(3, geo::XYPoint(7.0, 8.0));
  strip->lsrToImage(std::vector<geo::XYZPoint>{{50.0, 0.0, 0.0}}, 0, image);
  EXPECT_EQ(image.size(), 3U);
  EXPECT_EQ(image[1].x, 7.0);
  EXPECT_NEAR(image[0].y, 50.0, 0.05);
}

TEST_F(Solver, OffsetIsTakenOffTheSample) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"50\" offset=\"25\""}};
  auto const strip = model();
  geo::XYZPoint const point = ground(*strip, 12.0, 40.0, 0.0F);
  EXPECT_NEAR(point.y, (12.0 + 25.0 - 50.0) * 2.0, 1e-3);
  EXPECT_NEAR(solved(*strip, point).x, 12.0, 0.05);
  std::vector<geo::XYPoint> run(1);
  strip->lsrToImage(std::vector<geo::XYZPoint>{point}, 0, run);
  EXPECT_NEAR(run[0].x, 12.0, 0.05);
}

// 2^24 samples are the most that single precision counts, and the most that lanes take. The two forms differ in bits.
TEST_F(Solver, CalibrationLineOfMoreSamplesThanSinglePrecisionCountsIsSolvedAsARun) {
  mStrip.direction = 0.7;
  mStrip.roll = 0.05;
  auto const strip = model();
  auto& line = dynamic_cast<sensor::CalibrationGeometryKes&>(*strip->calibrationGeometry(0));
  constexpr int most = 1 << 24;
  for (int const samples : {most, most + 1}) {
    std::vector<float> y(static_cast<std::size_t>(samples));
    for (std::size_t i = 0; i < y.size(); ++i) {
      y[i] = static_cast<float>(-0.005 + 0.01 * static_cast<double>(i) / samples);
    }
    line.setPixelData(1e-4F, samples, samples, std::vector<float>(y.size(), 0.0F), y);
    std::vector<geo::XYZPoint> points;
    for (int i = 0; i < 16; ++i) {
      points.push_back(ground(*strip, 0.05 * samples * (i + 1), 90.0 - 5.0 * i, static_cast<float>(3 * i)));
    }
    std::vector<geo::XYPoint> run(points.size());
    std::vector<geo::XYPoint> lanes(points.size());
    strip->lsrToImage(points, 0, run);
    strip->lsrToImageSSE(points, 0, lanes);
    auto const sameBits = [](geo::XYPoint const& a, geo::XYPoint const& b) {
      return test::bitsOf(a.x) == test::bitsOf(b.x) && test::bitsOf(a.y) == test::bitsOf(b.y);
    };
    EXPECT_EQ(std::equal(run.begin(), run.end(), lanes.begin(), sameBits), samples > most);
  }
}

// Without records there is no orientation: no place, rather than a plausible one.
TEST_F(Solver, MissingOrientationGivesNoPlace) {
  auto const strip = model();
  strip->eop()->unloadData();
  EXPECT_TRUE(std::isnan(ground(*strip, 50.0, 50.0, 0.0F).x));
  EXPECT_TRUE(std::isnan(solved(*strip, {50.0, 0.0, 0.0}).y));
  std::vector<geo::XYZPoint> const points(4, {50.0, 0.0, -10.0});
  std::vector<geo::XYPoint> run(4);
  strip->lsrToImage(points, 0, run);
  std::vector<geo::XYPoint> lanes(4);
  strip->lsrToImageSSE(points, 0, lanes);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(std::isnan(run[i].y)) << i;
    EXPECT_TRUE(std::isnan(lanes[i].y)) << i;
  }
}

}  // namespace
