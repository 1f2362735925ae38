// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"

#include <geo/units.h>

#include <limits>

using geo::coordSys;
using geo::XYZPoint;
using test::A84;
using test::B84;
using test::converted;
using test::DEGREE;
using test::geographic;
using test::PI;
using test::System;
using test::systemOf;

TEST(GeographicCoordSys, FormsDifferInUnitAndOrder) {
  XYZPoint const place(0.25, -0.75, 321.0);
  XYZPoint const degrees = converted(geographic(), geographic(true, false), place);
  EXPECT_DOUBLE_EQ(degrees.x, 0.25 / DEGREE);
  EXPECT_DOUBLE_EQ(degrees.y, -0.75 / DEGREE);
  EXPECT_EQ(degrees.z, 321.0);
  XYZPoint const swapped = converted(geographic(), geographic(false, true), place);
  EXPECT_EQ(swapped.x, -0.75);
  EXPECT_EQ(swapped.y, 0.25);
  XYZPoint const both = converted(geographic(true, true), geographic(), {-30.0, 60.0, 5.0});
  EXPECT_DOUBLE_EQ(both.x, PI / 3);
  EXPECT_DOUBLE_EQ(both.y, -PI / 6);
}

TEST(GeographicCoordSys, UnitIsItsAngleAlongTheEquator) {
  EXPECT_EQ(geographic()->horizontalUnits().getScale(), 6378137.0);
  EXPECT_EQ(geographic()->horizontalUnits().name(), "radian");
  EXPECT_DOUBLE_EQ(geographic(true, false)->horizontalUnits().getScale(), 6378137.0 * DEGREE);
  EXPECT_EQ(geographic(true, false)->horizontalUnits().name(), "degree");
  EXPECT_EQ(geographic(true, true)->verticalUnits().getScale(), 1.0);
}

TEST(GeographicCoordSys, GeocentricOfTheAxes) {
  System const geodetic = geographic();
  XYZPoint out;
  EXPECT_EQ(geodetic->geo_to_ecef({0.0, 0.0, 100.0}, out), 0);
  EXPECT_EQ(out.x, A84 + 100.0);
  EXPECT_EQ(out.y, 0.0);
  EXPECT_EQ(out.z, 0.0);
  EXPECT_EQ(geodetic->geo_to_ecef({PI / 2, 0.0, 100.0}, out), 0);
  EXPECT_NEAR(out.x, 0.0, 1e-8);
  EXPECT_EQ(out.y, A84 + 100.0);
  EXPECT_EQ(geodetic->geo_to_ecef({0.4, -PI / 2, 100.0}, out), 0);
  EXPECT_NEAR(out.x, 0.0, 1e-8);
  EXPECT_NEAR(out.z, -B84 - 100.0, 2e-9);
}

TEST(GeographicCoordSys, GeocentricOfOtherFormsAndKinds) {
  XYZPoint const expected(3967954.105097406, 1063210.098064608, 4862865.642150745);  // 15 E, 50 N, 100 m
  XYZPoint out;
  EXPECT_EQ(geographic(true, true)->geo_to_ecef({50.0, 15.0, 100.0}, out), 0);
  EXPECT_LT(test::distance(out, expected), 3e-9);
  EXPECT_EQ(systemOf("EPSG:4978")->geo_to_ecef(expected, out), 0);
  EXPECT_EQ(out.x, expected.x);
  EXPECT_EQ(systemOf("EPSG:4936")->geo_to_ecef(expected, out), 0);  // ETRS89, which PROJ takes for WGS 84
  EXPECT_LT(test::distance(out, expected), 1e-8);
}

TEST(GeographicCoordSys, AgreesWithProjBothWays) {
  test::ProjReference const reference("+proj=cart +ellps=WGS84");
  System const geocentric = systemOf("EPSG:4978");
  System const geodetic = geographic();
  for (XYZPoint const& place : test::globe(41, 5000, -1e4, 1e5)) {
    XYZPoint const point = converted(geodetic, geocentric, place);
    EXPECT_LT(test::distance(point, reference.forward(place)), 4e-9);
    XYZPoint const back = converted(geocentric, geodetic, point);
    EXPECT_LT(test::distance(reference.forward(back), point), 6e-9);
    // The other way PROJ stops after one step of its iteration, which leaves 0.1 mm at a height of 100 km.
    XYZPoint const expected = reference.inverse(point);
    EXPECT_NEAR(back.y, expected.y, 2e-11);
    EXPECT_NEAR(std::remainder(back.x - expected.x, 2 * PI) * std::cos(place.y), 0.0, 1e-15);
    EXPECT_NEAR(back.z, expected.z, 2e-4);
  }
}

// A few roundings in steps of 0.9 nm (7 nm at 6e7 m).
TEST(GeographicCoordSys, ReturnsFromGeocentricAtAnyHeight) {
  System const geocentric = systemOf("EPSG:4978");
  System const geodetic = geographic();
  for (double const height : {-6.0e6, -5.0e6, -1e6, -1e4, 0.0, 1e4, 1e6, 3.6e7}) {
    double const tolerance = 5e-9 * std::max(1.0, height / 6e6);
    for (XYZPoint const& place : test::globe(42, 500, height, height)) {
      XYZPoint const point = converted(geodetic, geocentric, place);
      XYZPoint const back = converted(geocentric, geodetic, point);
      ASSERT_LT(test::distance(converted(geodetic, geocentric, back), point), tolerance) << height << " " << place.y;
      ASSERT_NEAR(back.z, place.z, tolerance) << height << " " << place.y;
    }
  }
}

TEST(GeographicCoordSys, PlacesOnTheAxis) {
  System const geocentric = systemOf("EPSG:4978");
  XYZPoint const north = converted(geocentric, geographic(), {0.0, 0.0, 7e6});
  EXPECT_EQ(north.y, PI / 2);
  EXPECT_NEAR(north.z, 7e6 - B84, 1e-9);
  XYZPoint const south = converted(geocentric, geographic(), {0.0, 0.0, -6e6});
  EXPECT_EQ(south.y, -PI / 2);
  EXPECT_NEAR(south.z, 6e6 - B84, 1e-9);
  XYZPoint const centre = converted(geocentric, geographic(), {0.0, 0.0, 0.0});
  EXPECT_EQ(centre.y, PI / 2);
  EXPECT_NEAR(centre.z, -B84, 1e-9);
}

// Normals of the ellipsoid meet up to 43 km from the centre: there is no one latitude, but it has to be one.
TEST(GeographicCoordSys, PlacesNearTheCentreHaveALatitude) {
  System const geocentric = systemOf("EPSG:4978");
  test::Random random(43);
  for (int i = 0; i < 5000; ++i) {
    XYZPoint const point(random.between(-6e4, 6e4), random.between(-6e4, 6e4), random.between(-6e4, 6e4));
    EXPECT_LE(std::fabs(converted(geocentric, geographic(), point).y), PI / 2);
  }
  double const e2 = 1.0 - B84 * B84 / (A84 * A84);
  EXPECT_LE(std::fabs(converted(geocentric, geographic(), {e2 * A84, 0.0, 0.0}).y), PI / 2);
}

TEST(GeographicCoordSys, LatitudeBeyondAPoleIsNoPlace) {
  XYZPoint out;
  EXPECT_NE(coordSys::transform(geographic().get(), systemOf("EPSG:4978").get(), {0.1, 1.6, 0.0}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
  EXPECT_NE(coordSys::transform(geographic(true, true).get(), geographic().get(), {-90.1, 20.0, 0.0}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
  EXPECT_EQ(coordSys::transform(geographic(true, false).get(), geographic().get(), {20.0, -90.0, 0.0}, out), 0);
  EXPECT_EQ(out.y, -PI / 2);
}

// Conversions may round beyond a pole by a millionth of a millionth of a radian.
TEST(GeographicCoordSys, LatitudeALittleBeyondAPoleIsThePole) {
  double const limit = 0.5 * PI + 1e-12;
  XYZPoint out;
  for (double const sign : {-1.0, 1.0}) {
    EXPECT_EQ(coordSys::transform(geographic().get(), systemOf("EPSG:4978").get(), {0.1, sign * limit, 0.0}, out), 0);
    EXPECT_NEAR(out.z, sign * B84, 1e-8);
    EXPECT_NE(coordSys::transform(geographic().get(), systemOf("EPSG:4978").get(),
                                  {0.1, sign * std::nextafter(limit, 2.0), 0.0}, out),
              0);
  }
}

// Files of earlier versions hold these texts.
TEST(GeographicCoordSys, DefinitionsOfTheFormsStay) {
  std::string const start = R"(GEOGCRS["WGS 84 ()";
  std::string const middle =
      R"-(, height)",DATUM["World Geodetic System 1984",ELLIPSOID["WGS 84",6378137,298.257223563,)-"
      R"(LENGTHUNIT["metre",1]]],PRIMEM["Greenwich",0],CS[ellipsoidal,3],)";
  std::string const end = R"(,AXIS["ellipsoidal height",up,ORDER[3],LENGTHUNIT["metre",1]]])";
  std::string const degree = R"(ANGLEUNIT["degree",0.0174532925199432958]])";
  std::string const radian = R"(ANGLEUNIT["radian",1]])";
  EXPECT_EQ(geographic(false, false)->definition(), start + "longitude, latitude in radians" + middle +
                                                        R"(AXIS["longitude",east,ORDER[1],)" + radian +
                                                        R"(,AXIS["latitude",north,ORDER[2],)" + radian + end);
  EXPECT_EQ(geographic(true, false)->definition(), start + "longitude, latitude in degrees" + middle +
                                                       R"(AXIS["longitude",east,ORDER[1],)" + degree +
                                                       R"(,AXIS["latitude",north,ORDER[2],)" + degree + end);
  EXPECT_EQ(geographic(false, true)->definition(), start + "latitude, longitude in radians" + middle +
                                                       R"(AXIS["latitude",north,ORDER[1],)" + radian +
                                                       R"(,AXIS["longitude",east,ORDER[2],)" + radian + end);
  EXPECT_EQ(geographic(true, true)->definition(), start + "latitude, longitude in degrees" + middle +
                                                      R"(AXIS["latitude",north,ORDER[1],)" + degree +
                                                      R"(,AXIS["longitude",east,ORDER[2],)" + degree + end);
}

TEST(GeographicCoordSys, Wgs84OfProjIsTheSameSystem) {
  XYZPoint const place(0.25, -0.75, 321.0);
  XYZPoint const expected = converted(geographic(), geographic(true, false), place);
  for (char const* definition : {"EPSG:4326", "EPSG:4979", "OGC:CRS84", "+proj=longlat +datum=WGS84"}) {
    System const system = systemOf(definition);
    XYZPoint const point = converted(geographic(), system, place);
    EXPECT_EQ(point.x, expected.x) << definition;
    EXPECT_EQ(point.y, expected.y) << definition;
    EXPECT_EQ(point.z, expected.z) << definition;
    EXPECT_DOUBLE_EQ(system->horizontalUnits().getScale(), 6378137.0 * DEGREE) << definition;
  }
}

TEST(GeographicCoordSys, CallerMayDelete) {
  coordSys* const kept = geo::coordSysFactory::getInstance()->createGEO84(false, false);
  coordSys* const deleted = geo::coordSysFactory::getInstance()->createGEO84(false, false);
  EXPECT_NE(kept, deleted);
  delete deleted;
  XYZPoint out;
  EXPECT_EQ(kept->geo_to_ecef({0.0, 0.0, 0.0}, out), 0);
  EXPECT_EQ(out.x, A84);
  // `kept` is left to the factory: the sanitizers tell of a leak, or of a system freed twice.
}
