// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "support/Matchers.h"

#include <kes/kes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

// Positions of a map in an image.

namespace {

using kes::Status;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double HEIGHT = 60.0;

class MapPositions : public testing::Test {
protected:
  MapPositions() {
    mOptions.system = kes::CoordinateSystem("EPSG:32616");
    kes::ToGroundOptions down = test::atHeight(HEIGHT);
    down.system = mOptions.system;
    mGood = mBand.toGround(geo::XYPoint(20.5, 100.25), down).position;
  }

  kes::Band mBand = test::randomStrip(4).band("PANN00A");
  kes::ToImageOptions mOptions;
  geo::XYZPoint mGood;
};

TEST_F(MapPositions, HaveAStatusThatNamesWhatIsWrong) {
  std::vector<geo::XYZPoint> const ground{mGood,
                                          {NAN_VALUE, mGood.y, mGood.z},
                                          {1e12, mGood.y, mGood.z},
                                          {mGood.x, mGood.y, INFINITE},
                                          {INFINITE, mGood.y, mGood.z},
                                          mGood};
  auto const found = test::toImage(mBand, ground, mOptions);
  EXPECT_EQ(found.status, (std::vector{Status::ok, Status::notFinite, Status::notTransformable, Status::notFinite,
                                       Status::notFinite, Status::ok}));
  EXPECT_NEAR(found.points[0].x, 20.5, 1e-3);
  EXPECT_NEAR(found.points[0].y, 100.25, 1e-3);
  EXPECT_TRUE(std::isnan(found.points[2].x));
  EXPECT_THAT(found.points[5].y, test::SameBits(found.points[0].y));
}

TEST_F(MapPositions, HaveTheHeightsOfTheCall) {
  std::vector<geo::XYZPoint> const ground{{mGood.x, mGood.y, NAN_VALUE}, mGood, {1e12, mGood.y, 0.0}};
  auto const own = test::toImage(mBand, {mGood, mGood, mGood}, mOptions);
  mOptions.heights = kes::ConstantHeight{mGood.z};
  auto const constant = test::toImage(mBand, ground, mOptions);
  EXPECT_EQ(constant.status, (std::vector{Status::ok, Status::ok, Status::notTransformable}));
  EXPECT_THAT(constant.points[0].y, test::SameBits(own.points[0].y));
  std::vector<double> const heights{mGood.z, NAN_VALUE, mGood.z};
  mOptions.heights = kes::HeightPerPoint{heights};
  auto const perPoint = test::toImage(mBand, ground, mOptions);
  EXPECT_EQ(perPoint.status, (std::vector{Status::ok, Status::notFinite, Status::notTransformable}));
  EXPECT_THAT(perPoint.points[0].x, test::SameBits(own.points[0].x));
}

TEST_F(MapPositions, OfTheLocalSystemHaveTheHeightsOfTheCall) {
  geo::XYZPoint const local = mBand.toGround(geo::XYPoint(20.5, 100.25), test::atHeight(HEIGHT)).position;
  std::vector<geo::XYZPoint> const ground{{local.x, local.y, NAN_VALUE}, {local.x, NAN_VALUE, HEIGHT}};
  kes::ToImageOptions options;
  options.heights = kes::ConstantHeight{HEIGHT};
  auto const found = test::toImage(mBand, ground, options);
  EXPECT_EQ(found.status, (std::vector{Status::ok, Status::notFinite}));
  EXPECT_NEAR(found.points[0].y, 100.25, 2e-6);
}

}  // namespace
