// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <cmath>

namespace {

constexpr double pi = 3.14159265358979;

// Straight and level, everything follows from similar triangles: a focal position is as many times larger on the ground
// as the height is of the focal length.
class GeometryOfLevelFlight : public test::SmallModel {};

constexpr double millimetre = 1e-3;

TEST_F(GeometryOfLevelFlight, FlightToTheEastHasFocalXEastAndFocalYNorth) {
  mStrip.bands = {{"PANN00A", 10.0}};
  auto const strip = model();
  // 1000 m over 0.05 m: the camera's 10 mm are 200 m ahead, and pixel 60's ten pixels of 0.1 mm are 20 m to the left.
  geo::XYZPoint const point = ground(*strip, 60.0, 50.0, 0.0F);
  EXPECT_NEAR(point.x, 50 * 0.01 * 100.0 + 200.0, 0.1 * millimetre);
  EXPECT_NEAR(point.y, 20.0, 0.1 * millimetre);
  EXPECT_EQ(point.z, 0.0);
}

TEST_F(GeometryOfLevelFlight, HigherPlanesAreNearerToTheNadir) {
  mStrip.bands = {{"PANN00A", 10.0}};
  auto const strip = model();
  geo::XYZPoint const point = ground(*strip, 60.0, 50.0, 250.5F);
  double const scale = (1000.0 - 250.5) / 0.05;
  EXPECT_NEAR(point.x, 50.0 + 0.01 * scale, 0.1 * millimetre);
  EXPECT_NEAR(point.y, 0.001 * scale, 0.1 * millimetre);
  EXPECT_EQ(point.z, 250.5);
}

TEST_F(GeometryOfLevelFlight, ReverseLineHasItsSamplesOnTheOtherSide) {
  mStrip.bands = {{"PANN00A", 10.0, true}};
  EXPECT_NEAR(ground(*model(), 60.0, 50.0, 0.0F).y, -20.0, 0.1 * millimetre);
}

TEST_F(GeometryOfLevelFlight, OffsetShiftsTheSamples) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"50\" offset=\"25\""}};
  EXPECT_NEAR(ground(*model(), 35.0, 50.0, 0.0F).y, 20.0, 0.1 * millimetre);
}

TEST_F(GeometryOfLevelFlight, RollMovesTheGroundSideways) {
  mStrip.roll = 0.1;
  // The axes turn about x from y towards z: a ray straight down in the camera comes out at y = tan(roll) times the
  // height.
  EXPECT_NEAR(ground(*model(), 50.0, 0.0, 0.0F).y, 1000.0 * std::tan(0.1), 1e-3);
}

TEST_F(GeometryOfLevelFlight, HeightAskedForIsExactlyTheHeightGiven) {
  mStrip.roll = 0.3;
  mStrip.kappaError = 1.0;
  auto const strip = model();
  for (float const height : {-17.3F, 0.1F, 999.0F, 1500.0F}) {
    EXPECT_EQ(ground(*strip, 3.7, 11.1, height).z, static_cast<double>(height));
  }
}

TEST_F(GeometryOfLevelFlight, AzimuthCountsFromNorthToEast) {
  struct Case {
    double direction;
    double azimuth;
  };
  for (Case const c : {Case{0.0, pi / 2}, Case{-pi / 2, pi}, Case{pi / 2, 0.0}, Case{3.0, pi / 2 - 3.0 + 2 * pi}}) {
    mStrip.direction = c.direction;
    EXPECT_NEAR(std::remainder(model()->flightAzimuth() - c.azimuth, 2 * pi), 0.0, 1e-6) << c.direction;
    EXPECT_GE(model()->flightAzimuth(), 0.0F);
  }
}

// A pixel is 0.1 mm times 20000 or 2 m wide, and a line one cycle or 1 m long.
TEST_F(GeometryOfLevelFlight, ScaleIsPixelByLine) {
  auto const strip = model();
  EXPECT_NEAR(strip->gsd(0), 2.0F, 1e-6F);
  EXPECT_NEAR(strip->scale(0), 2.0F, 1e-5F);
}

TEST_F(GeometryOfLevelFlight, ImageOfOneLineOrOneSampleHasUnitScale) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"1\""}};
  EXPECT_EQ(model()->scale(0), 1.0F);
  mStrip.bands = {{"PANN00A"}};
  mStrip.lines = 1;
  EXPECT_EQ(model()->scale(0), 1.0F);
}

TEST_F(GeometryOfLevelFlight, StandingFlightHasUnitScale) {
  mStrip.speed = 0.0;
  EXPECT_EQ(model()->scale(0), 1.0F);
}

TEST_F(GeometryOfLevelFlight, LinesOutsideTheImageGoOn) {
  auto const strip = model();
  EXPECT_NEAR(ground(*strip, 50.0, -0.5, 0.0F).x, -0.5, millimetre);
  EXPECT_NEAR(ground(*strip, 50.0, -1.5, 0.0F).x, -1.5, millimetre);
  EXPECT_NEAR(ground(*strip, 50.0, 150.25, 0.0F).x, 150.25, millimetre);
  // Far beyond the orientation's span it is extrapolated.
  EXPECT_NEAR(ground(*strip, 50.0, 1000.0, 0.0F).x, 1000.0, 0.1);
}

TEST_F(GeometryOfLevelFlight, GivenTdiLooksAtAnEarlierLineFromFurtherAhead) {
  mStrip.bands = {{"PANN00A", 0.0}};
  auto const strip = model();
  geo::XYZPoint point;
  strip->imageToLsr({50.0, 40.0}, 0.0F, 0, 3.0F, point);
  // Two lines earlier, and two pixels of 2 m ahead.
  EXPECT_NEAR(point.x, 38.0 + 2 * 2.0, millimetre);
  strip->imageToLsr({50.0, 40.0}, 0.0F, 0, 1.0F, point);
  EXPECT_NEAR(point.x, 40.0, millimetre);
}

TEST_F(GeometryOfLevelFlight, DirectionsOfViewAddTheFlightAzimuth) {
  mStrip.bands = {{"PANN00A", 10.0}};
  auto const strip = model();
  double const x = 0.01;
  double const y = 0.001;
  EXPECT_NEAR(strip->azimuth({60.0, 5.0}, 0), std::atan2(y, x) + pi / 2, 1e-6);
  EXPECT_NEAR(strip->zenith({60.0, 5.0}, 0), std::atan(std::hypot(x, y) / 0.05), 1e-6);
  EXPECT_NEAR(strip->lookAngle(0), std::atan(x / 0.05), 1e-6);
}

TEST_F(GeometryOfLevelFlight, AzimuthOfAViewMayExceedAFullCircle) {
  mStrip.bands = {{"PANN00A", 0.0}};
  mStrip.direction = pi / 2 + 0.01;
  EXPECT_GT(model()->azimuth({60.0, 5.0}, 0), 2 * pi);
}

}  // namespace
