// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"

#include <geo/units.h>

#include <iomanip>
#include <sstream>

using geo::coordSys;
using geo::XYZPoint;
using test::converted;
using test::geographic;
using test::localSystem;
using test::PI;
using test::System;
using test::systemOf;

namespace {

/// The frame's defining formulae (rotation of geocentric differences), in 64-bit mantissas.
XYZPoint localByDefinition(XYZPoint const& anchor, XYZPoint const& geodetic) {
  using Long = long double;
  struct Geocentric {
    Long x, y, z;
  };
  auto const geocentric = [](XYZPoint const& g) {
    Long const f = 1.0L / 298.257223563L;
    Long const e2 = f * (2.0L - f);
    Long const n = 6378137.0L / std::sqrt(1.0L - e2 * std::sin(Long{g.y}) * std::sin(Long{g.y}));
    return Geocentric{(n + g.z) * std::cos(Long{g.y}) * std::cos(Long{g.x}),
                      (n + g.z) * std::cos(Long{g.y}) * std::sin(Long{g.x}),
                      (n * (1.0L - e2) + g.z) * std::sin(Long{g.y})};
  };
  Geocentric const origin = geocentric(anchor);
  Geocentric const point = geocentric(geodetic);
  Long const dx = point.x - origin.x;
  Long const dy = point.y - origin.y;
  Long const dz = point.z - origin.z;
  Long const sinLon = std::sin(Long{anchor.x});
  Long const cosLon = std::cos(Long{anchor.x});
  Long const sinLat = std::sin(Long{anchor.y});
  Long const cosLat = std::cos(Long{anchor.y});
  return {static_cast<double>(-sinLon * dx + cosLon * dy),
          static_cast<double>(-sinLat * cosLon * dx - sinLat * sinLon * dy + cosLat * dz),
          static_cast<double>(cosLat * cosLon * dx + cosLat * sinLon * dy + sinLat * dz)};
}

void expectNear(XYZPoint const& actual, XYZPoint const& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

std::string topocentric(XYZPoint const& anchor) {
  std::ostringstream text;
  text << std::setprecision(17) << "+proj=pipeline +step +proj=cart +ellps=WGS84 +step +proj=topocentric +ellps=WGS84"
       << " +lon_0=" << anchor.x << "r +lat_0=" << anchor.y << "r +h_0=" << anchor.z;
  return text.str();
}

}  // namespace

TEST(LocalCoordSys, AxesPointEastNorthUpAtTheAnchor) {
  System const geocentric = systemOf("EPSG:4978");
  // On the equator at Greenwich east is +Y, north +Z and up +X; a quarter turn on, east is -X and up +Y.
  expectNear(converted(localSystem({0.0, 0.0, 10.0}), geocentric, {1.0, 2.0, 3.0}), {test::A84 + 13.0, 1.0, 2.0}, 1e-8);
  expectNear(converted(localSystem({PI / 2, 0.0, 10.0}), geocentric, {1.0, 2.0, 3.0}), {-1.0, test::A84 + 13.0, 2.0},
             1e-8);
  // At the north pole, seen along Greenwich, north goes on over the pole to -X.
  expectNear(converted(localSystem({0.0, PI / 2, 10.0}), geocentric, {1.0, 2.0, 3.0}), {-2.0, 1.0, test::B84 + 13.0},
             1e-8);
  expectNear(converted(localSystem({0.0, -PI / 2, 10.0}), geocentric, {1.0, 2.0, 3.0}), {2.0, 1.0, -test::B84 - 13.0},
             1e-8);
}

TEST(LocalCoordSys, AnchorIsTheOrigin) {
  XYZPoint const anchor(0.2, -0.8, 1234.5);
  XYZPoint const origin = converted(geographic(), localSystem(anchor), anchor);
  EXPECT_EQ(origin.x, 0.0);
  EXPECT_EQ(origin.y, 0.0);
  EXPECT_EQ(origin.z, 0.0);
}

TEST(LocalCoordSys, AnchorAtTheDateLineKeepsItsSide) {
  for (double const longitude : {PI, -PI}) {
    EXPECT_EQ(converted(localSystem({longitude, 0.3, 100.0}), geographic(), {0.0, 0.0, 5.0}).x, longitude);
  }
}

TEST(LocalCoordSys, UnitsAreMetres) {
  System const local = localSystem({0.2, -0.8, 1234.5});
  EXPECT_EQ(local->verticalUnits().getScale(), 1.0);
  EXPECT_EQ(local->horizontalUnits().getScale(), 1.0);
  EXPECT_EQ(local->horizontalUnits().name(), "metre");
}

// Within 150 km the rounding of the formulae is some 1e-16 of the distance: below 1e-10 m.
TEST(LocalCoordSys, FollowsTheDefiningFormulaeAtFlightDistances) {
  test::Random random(11);
  System const geodetic = geographic();
  for (XYZPoint const& anchor : test::globe(12, 300, -400.0, 9000.0)) {
    XYZPoint const place(anchor.x + random.between(-0.015, 0.015), anchor.y * random.between(0.985, 1.0),
                         random.between(-400.0, 9000.0));
    expectNear(converted(geodetic, localSystem(anchor), place), localByDefinition(anchor, place), 1e-10);
  }
}

// The longitude is a double near 3 at worst, in steps of 4.4e-16 rad, the latitude one near 1.5, in steps of 2.2e-16
// rad: half a step is 1.42 nm along the equator and 0.71 nm along a meridian. The formulae may add next to nothing.
TEST(LocalCoordSys, ReturnsFromGeographicToTheRoundingOfTheAngles) {
  test::Random random(21);
  System const geodetic = geographic();
  for (XYZPoint const& anchor : test::globe(22, 2000, -400.0, 9000.0)) {
    System const local = localSystem(anchor);
    XYZPoint const point(random.between(-1e5, 1e5), random.between(-1e5, 1e5), random.between(-1e3, 1e4));
    XYZPoint const back = converted(geodetic, local, converted(local, geodetic, point));
    ASSERT_NEAR(back.x, point.x, 1.5e-9) << anchor.x << " " << anchor.y;
    ASSERT_NEAR(back.y, point.y, 1.5e-9) << anchor.x << " " << anchor.y;  // near a pole north feels the longitude, too
    ASSERT_NEAR(back.z, point.z, 1e-10) << anchor.x << " " << anchor.y;
  }
}

// In the middle of Europe the steps are smaller: half of them are 0.18 nm and 0.36 nm.
TEST(LocalCoordSys, ReturnsFromGeographicWithinANanometreInEurope) {
  test::Random random(23);
  System const geodetic = geographic();
  for (int i = 0; i < 2000; ++i) {
    System const local =
        localSystem({random.between(-0.15, 0.4), random.between(0.65, 0.97), random.between(0.0, 4000.0)});
    XYZPoint const point(random.between(-1e5, 1e5), random.between(-1e5, 1e5), random.between(-1e3, 1e4));
    XYZPoint const back = converted(geodetic, local, converted(local, geodetic, point));
    ASSERT_LT(test::distance(point, back), 0.5e-9);
  }
}

TEST(LocalCoordSys, ReturnsFromFarAway) {
  test::Random random(24);
  System const geodetic = geographic();
  System const local = localSystem({0.2, 0.9, 500.0});
  for (int i = 0; i < 2000; ++i) {
    XYZPoint const place = random.geodetic(-1e4, 1e5);
    XYZPoint const point = converted(geodetic, local, place);
    ASSERT_LT(test::distance(converted(geodetic, local, converted(local, geodetic, point)), point), 1e-8);
  }
}

TEST(LocalCoordSys, LongitudeStaysWithinHalfATurnAcrossTheDateLine) {
  System const west = localSystem({PI - 1e-4, 0.3, 0.0});
  XYZPoint const place = converted(west, geographic(), {2000.0, 0.0, 0.0});
  EXPECT_LT(place.x, -PI + 1e-3);
  EXPECT_GT(place.x, -PI);
  EXPECT_LT(converted(localSystem({1e-4 - PI, 0.3, 0.0}), geographic(), {-2000.0, 0.0, 0.0}).x, PI);
  EXPECT_NEAR(converted(geographic(), west, place).x, 2000.0, 1.5e-9);
}

TEST(LocalCoordSys, LatitudeNeverPassesAPole) {
  test::Random random(25);
  for (double const pole : {-PI / 2, PI / 2}) {
    System const local = localSystem({0.4, pole, 100.0});
    for (int i = 0; i < 1000; ++i) {
      XYZPoint const point(random.between(-1e-9, 1e-9), random.between(-1e-9, 1e-9), random.between(-1e3, 1e4));
      EXPECT_LE(std::fabs(converted(local, geographic(), point).y), PI / 2);
    }
  }
}

TEST(LocalCoordSys, AnchorMayBeSomeTurnsOff) {
  XYZPoint const place(0.21, 0.9, 100.0);
  XYZPoint const expected = converted(geographic(), localSystem({0.2, 0.9, 0.0}), place);
  XYZPoint const point = converted(geographic(), localSystem({0.2 + 6 * PI, 0.9, 0.0}), place);
  EXPECT_LT(test::distance(point, expected), 1e-8);
  EXPECT_NEAR(converted(localSystem({0.2 + 6 * PI, 0.9, 0.0}), geographic(), point).x, 0.21, 1e-14);
}

// The reference works in geocentric doubles, whose steps at the Earth's surface are 0.9 nm, with a dozen roundings.
TEST(LocalCoordSys, AgreesWithProjBothWays) {
  test::Random random(31);
  System const geodetic = geographic();
  for (XYZPoint const& anchor : test::globe(32, 500, -400.0, 9000.0)) {
    test::ProjReference const reference(topocentric(anchor));
    System const local = localSystem(anchor);
    XYZPoint const point(random.between(-1e5, 1e5), random.between(-1e5, 1e5), random.between(-1e3, 1e4));
    XYZPoint const place = converted(local, geodetic, point);
    expectNear(reference.forward(place), point, 2e-8);
    expectNear(converted(geodetic, local, place), reference.forward(place), 2e-8);
    // Backwards PROJ stops after one step of its iteration for the latitude: some micrometres at flight heights.
    XYZPoint const expected = reference.inverse(point);
    EXPECT_NEAR(place.y, expected.y, 2e-12);
    EXPECT_NEAR(std::remainder(place.x - expected.x, 2 * PI) * std::cos(place.y), 0.0, 2e-15);
    EXPECT_NEAR(place.z, expected.z, 1e-5);
  }
}

TEST(LocalCoordSys, FarPlacesAgreeWithProj) {
  XYZPoint const anchor(0.26, 0.87, 300.0);
  test::ProjReference const reference(topocentric(anchor));
  System const local = localSystem(anchor);
  for (XYZPoint const& place : test::globe(33, 1000, -1e4, 1e5)) {
    expectNear(converted(geographic(), local, place), reference.forward(place), 2e-8);
  }
}

TEST(LocalCoordSys, TwoLocalSystemsMeetInGeocentric) {
  System const first = localSystem({0.0, 0.0, 0.0});
  System const second = localSystem({PI, 0.0, 0.0});  // the other side: east and up turned round
  expectNear(converted(first, second, {5.0, 6.0, 7.0}), {-5.0, 6.0, -7.0 - 2.0 * test::A84}, 1e-8);
}

TEST(LocalCoordSys, ReturnsFromDeepBelow) {
  System const geodetic = geographic();
  for (double const latitude : {-PI / 2, -0.7, 0.0, 0.7}) {
    System const local = localSystem({0.0, latitude, 0.0});
    for (double const up : {-1e4, -1e5, -1e6, -5e6, -6.2e6}) {
      XYZPoint const point(1000.0, 2000.0, up);
      EXPECT_LT(test::distance(converted(geodetic, local, converted(local, geodetic, point)), point), 1e-8) << up;
    }
  }
}

TEST(LocalCoordSys, WayThroughTheEarthsCentreHasLatitudes) {
  System const geodetic = geographic();
  for (double const latitude : {PI / 2, 0.7, 0.0}) {
    System const local = localSystem({0.0, latitude, 0.0});
    for (int up = -6300000; up > -6420000; up -= 100) {
      EXPECT_LE(std::fabs(converted(local, geodetic, {1.0, 2.0, 1.0 * up}).y), PI / 2) << latitude << " " << up;
    }
  }
}

TEST(LocalCoordSys, AnchorThatIsNoPlaceGivesNoPositions) {
  double const nan = std::nan("");
  XYZPoint out(1.0, 2.0, 3.0);
  EXPECT_NE(coordSys::transform(localSystem({nan, 0.5, 0.0}).get(), geographic().get(), {1.0, 2.0, 3.0}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
}
