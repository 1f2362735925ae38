// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>

// `lsrToImageSSE` of a model: level flight over pixels of 2 m and lines of 1 m.

namespace {

using sensor::KESStripModel;

constexpr char notFours[] = "lsrToImageSSE: grndPts vector not a multiple of 4 in size.";

class Lanes : public test::SmallModel {
protected:
  static std::vector<geo::XYPoint> solved(KESStripModel const& strip, std::vector<geo::XYZPoint> const& ground,
                                          int band = 0) {
    std::vector<geo::XYPoint> image(ground.size());
    strip.lsrToImageSSE(ground, band, image);
    return image;
  }
};

TEST_F(Lanes, CountsThatArentMultiplesOfFourAreRefused) {
  auto const strip = model();
  for (std::size_t const count : {1U, 2U, 3U, 5U, 6U, 4001U}) {
    EXPECT_MESSAGE(solved(*strip, std::vector<geo::XYZPoint>(count)), notFours);
  }
  EXPECT_NO_THROW(solved(*strip, std::vector<geo::XYZPoint>(0)));
  EXPECT_NO_THROW(solved(*strip, std::vector<geo::XYZPoint>(8)));
}

TEST_F(Lanes, FirstGroupFindsItsLinesFromTheMiddle) {
  auto const strip = model();
  auto const image = solved(*strip, {{3.0, 10.0, 0.0}, {97.0, -30.0, 0.0}, {50.5, 0.0, 0.0}, {60.0, 99.0, 0.0}});
  double const expected[4][2] = {{55.0, 3.0}, {35.0, 97.0}, {50.0, 50.5}, {99.5, 60.0}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(image[i].x, expected[i][0], 1e-3);
    EXPECT_NEAR(image[i].y, expected[i][1], 1e-3);
  }
}

TEST_F(Lanes, AgreeWithSinglePointsOverHills) {
  mStrip.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0, true}};
  mStrip.direction = 2.6;
  mStrip.kappaError = 0.02;
  mStrip.roll = -0.03;
  auto const strip = model();
  for (int band = 0; band < 2; ++band) {
    std::vector<geo::XYZPoint> points;
    for (double line = 1.0; line < 100.0; line += 3.0) {
      for (double sample = 2.0; sample < 98.0; sample += 3.0) {
        points.push_back(ground(*strip, sample, line, static_cast<float>(sample + line), band));
      }
    }
    points.resize(points.size() / 4 * 4);
    auto const image = solved(*strip, points, band);
    for (std::size_t i = 0; i < points.size(); ++i) {
      geo::XYPoint single;
      strip->lsrToImage(points[i], band, single);
      ASSERT_NEAR(image[i].x, single.x, 0.05);
      ASSERT_NEAR(image[i].y, single.y, 0.1);
    }
  }
}

TEST_F(Lanes, IdenticalPointsHaveIdenticalResults) {
  auto const strip = model();
  auto const image = solved(*strip, std::vector<geo::XYZPoint>(4, {17.0, 8.0, 30.0}));
  for (std::size_t i = 1; i < 4; ++i) {
    EXPECT_THAT(image[i].x, test::SameBits(image[0].x));
    EXPECT_THAT(image[i].y, test::SameBits(image[0].y));
  }
}

TEST_F(Lanes, PointBesideTheSensorLineHasASampleOutsideTheImage) {
  auto const strip = model();
  auto const image = solved(*strip, {{40, 300, 0}, {40, -300, 0}, {40, 0, 0}, {-30, 500, 0}});
  EXPECT_NEAR(image[0].x, 200.0, 0.01);
  EXPECT_NEAR(image[1].x, -100.0, 0.01);
  EXPECT_NEAR(image[2].x, 50.0, 0.01);
  EXPECT_NEAR(image[3].x, 300.0, 0.01);
  EXPECT_NEAR(image[3].y, -30.0, 0.05);
}

TEST_F(Lanes, SamplesCountFromTheImagesOffset) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"51\" offset=\"20\""}};
  auto const strip = model();
  auto const image = solved(*strip, std::vector<geo::XYZPoint>(4, {40.0, 10.0, 0.0}));
  EXPECT_NEAR(image[0].x, 35.0, 1e-3);
}

// A table of every other sample: the form for runs reads it, and gives its very results.
TEST_F(Lanes, SparseTableIsLeftToTheFormForRuns) {
  auto const strip = model();
  auto& line = dynamic_cast<sensor::CalibrationGeometryKes&>(*strip->calibrationGeometry(0));
  ASSERT_TRUE(line.isFull());
  std::vector<float> x;
  std::vector<float> y;
  for (unsigned i = 0; i <= 100; i += 2) {
    x.push_back(line.coordX(i));
    y.push_back(line.coordY(i));
  }
  line.setPixelData(line.pixelSize(), 101, 101, x, y);
  ASSERT_FALSE(line.isFull());
  std::vector<geo::XYZPoint> const points{{3, 10, 0}, {4, 11, 0}, {5, 12, 1}, {90, -40, 2}};
  std::vector<geo::XYPoint> run(4);
  strip->lsrToImage(points, 0, run);
  auto const lanes = solved(*strip, points);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_THAT(lanes[i].x, test::SameBits(run[i].x));
    EXPECT_THAT(lanes[i].y, test::SameBits(run[i].y));
  }
  EXPECT_MESSAGE(solved(*strip, {{3, 10, 0}}), notFours);
}

TEST_F(Lanes, OscillationIsDampedFromTheTwentySecondPassOn) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 1.98F);
  EXPECT_NEAR(solved(*strip, std::vector<geo::XYZPoint>(4, {20.0, 0.0, 0.0}))[0].y, 20.0, 0.05);
}

TEST_F(Lanes, BaseClassHasNoLanes) {
  auto const strip = model();
  std::vector<geo::XYPoint> image(3, {7.0, 8.0});
  strip->SensorModelBase::lsrToImageSSE(std::vector<geo::XYZPoint>(3), 0, image);
  EXPECT_EQ(image[0].x, 7.0);
  EXPECT_EQ(image[2].y, 8.0);
  EXPECT_FALSE(strip->SensorModelBase::sseEnabled());
}

}  // namespace
