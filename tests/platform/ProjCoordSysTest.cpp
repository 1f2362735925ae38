// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"

#include <geo/units.h>

#include <gmock/gmock.h>

using geo::XYZPoint;
using test::converted;
using test::DEGREE;
using test::geographic;
using test::System;
using test::systemOf;

namespace {

/// Degrees over a part of the globe.
struct Area {
  double west, south, east, north;
};

/// `definition` against PROJ's own way from EPSG:4979 to `reference`, forwards to `tolerance` and back.
void expectAsProj(std::string const& definition, std::string const& reference, Area const& area, double tolerance) {
  System const system = systemOf(definition);
  System const degrees = geographic(true, false);
  test::ProjReference const proj("EPSG:4979", reference);
  test::Random random(61);
  for (int i = 0; i < 500; ++i) {
    XYZPoint const place(random.between(area.west, area.east), random.between(area.south, area.north),
                         random.between(-100.0, 9000.0));
    XYZPoint const point = converted(degrees, system, place);
    XYZPoint const expected = proj.forward(place);
    ASSERT_NEAR(point.x, expected.x, tolerance) << definition << " " << place.x << " " << place.y;
    ASSERT_NEAR(point.y, expected.y, tolerance) << definition << " " << place.x << " " << place.y;
    ASSERT_NEAR(point.z, expected.z, 1e-7) << definition << " " << place.x << " " << place.y;
    XYZPoint const back = converted(system, degrees, point);
    XYZPoint const expectedBack = proj.inverse(expected);
    ASSERT_NEAR(back.x, expectedBack.x, 1e-12);
    ASSERT_NEAR(back.y, expectedBack.y, 1e-12);
    ASSERT_NEAR(back.z, expectedBack.z, 1e-7);
  }
}

constexpr Area ZONE_33 = {10.0, -80.0, 20.0, 84.0};
constexpr Area GERMANY = {6.0, 47.5, 15.0, 55.0};

double verticalScale(std::string const& definition) {
  return systemOf(definition)->verticalUnits().getScale();
}

double horizontalScale(std::string const& definition) {
  return systemOf(definition)->horizontalUnits().getScale();
}

}  // namespace

TEST(ProjCoordSys, CentralMeridianOfAUtmZone) {
  XYZPoint const point = converted(geographic(true, false), systemOf("EPSG:32633"), {15.0, 0.0, 123.0});
  EXPECT_NEAR(point.x, 500000.0, 1e-8);
  EXPECT_NEAR(point.y, 0.0, 1e-8);
  EXPECT_EQ(point.z, 123.0);
}

TEST(ProjCoordSys, UtmIsProjsBothWays) {
  expectAsProj("EPSG:32633", "EPSG:32633", ZONE_33, 1e-8);
}

TEST(ProjCoordSys, DatumShiftIsProjs) {
  System const krueger = systemOf("EPSG:31467");  // several operations serve Germany
  test::ProjReference const proj("EPSG:4326", "EPSG:31467");
  test::Random random(63);
  for (int i = 0; i < 200; ++i) {
    XYZPoint const place(random.between(GERMANY.west, GERMANY.east), random.between(GERMANY.south, GERMANY.north), 0.0);
    XYZPoint const point = converted(geographic(true, false), krueger, place);
    XYZPoint const expected = proj.forward(place);  // without heights, whose loss moves it by less than a millimetre
    EXPECT_NEAR(point.x, expected.x, 1e-3);
    EXPECT_NEAR(point.y, expected.y, 1e-3);
  }
}

TEST(ProjCoordSys, HeightsAboveTheGeoidAreProjsBothWays) {
  expectAsProj("EPSG:32633+5773", "EPSG:32633+5773", ZONE_33, 1e-8);
}

// EGM96 at 50 N 15 E is 44.796 m: the height above the geoid is that much lower than that above the ellipsoid.
TEST(ProjCoordSys, VerticalPartIsHonoured) {
  XYZPoint const place(15.0, 50.0, 100.0);
  XYZPoint const geoid = converted(geographic(true, false), systemOf("EPSG:32633+5773"), place);
  EXPECT_NEAR(geoid.z, 100.0 - 44.796, 0.001);
  XYZPoint const back = converted(systemOf("EPSG:32633+5773"), systemOf("EPSG:32633"), geoid);
  EXPECT_NEAR(back.z, 100.0, 1e-9);
  EXPECT_NEAR(back.x, geoid.x, 1e-8);
}

TEST(ProjCoordSys, GeographicSystemWithHeightsAboveTheGeoid) {
  XYZPoint const point = converted(geographic(true, false), systemOf("EPSG:4326+5773"), {15.0, 50.0, 100.0});
  EXPECT_NEAR(point.x, 15.0, 1e-12);
  EXPECT_NEAR(point.y, 50.0, 1e-12);
  EXPECT_NEAR(point.z, 100.0 - 44.796, 0.001);
}

TEST(ProjCoordSys, HeightUnitsScale) {
  System const feet = systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=egm96_15.gtx +vunits=us-ft");
  XYZPoint const point = converted(geographic(true, false), feet, {15.0, 50.0, 100.0});
  EXPECT_NEAR(point.z, (100.0 - 44.796) * 3937.0 / 1200.0, 0.005);
  EXPECT_NEAR(feet->verticalUnits().getScale(), 1200.0 / 3937.0, 1e-15);
  EXPECT_EQ(feet->verticalUnits().name(), "US survey foot");
  EXPECT_EQ(feet->horizontalUnits().getScale(), 1.0);
  System const ellipsoidal = systemOf("+proj=utm +zone=33 +datum=WGS84 +vunits=ft");
  EXPECT_NEAR(ellipsoidal->verticalUnits().getScale(), 0.3048, 1e-15);
  EXPECT_NEAR(converted(geographic(true, false), ellipsoidal, {15.0, 50.0, 100.0}).z, 100.0 / 0.3048, 1e-9);
}

TEST(ProjCoordSys, HorizontalUnitsScale) {
  System const feet = systemOf("EPSG:2272");  // Pennsylvania South in US survey feet, NAD83
  EXPECT_NEAR(feet->horizontalUnits().getScale(), 1200.0 / 3937.0, 1e-15);
  EXPECT_EQ(feet->horizontalUnits().name(), "US survey foot");
  EXPECT_EQ(feet->verticalUnits().getScale(), 1.0);
  // False easting and latitude of origin of the zone, and the height as it was in metres.
  XYZPoint const point = converted(geographic(true, false), feet, {-77.75, 39.0 + 1.0 / 3.0, 100.0});
  EXPECT_NEAR(point.x, 1968500.0, 10.0);
  EXPECT_NEAR(point.y, 0.0, 10.0);
  EXPECT_NEAR(point.z, 100.0, 3.0);
}

TEST(ProjCoordSys, UnitsOfGeographicSystemsAreAnglesAlongTheirEquator) {
  EXPECT_NEAR(horizontalScale("EPSG:4267"), 6378206.4 * DEGREE, 1e-6);          // Clarke 1866
  EXPECT_NEAR(horizontalScale("EPSG:4807"), 6378249.2 * test::PI / 200, 1e-6);  // grads on Clarke 1880 (IGN)
  EXPECT_EQ(horizontalScale("EPSG:4978"), 1.0);
  EXPECT_EQ(verticalScale("EPSG:4978"), 1.0);
  EXPECT_EQ(horizontalScale("EPSG:4936"), 1.0);
  EXPECT_NEAR(horizontalScale("EPSG:4326+5773"), 6378137.0 * DEGREE, 1e-6);
  EXPECT_EQ(verticalScale("EPSG:4326+5773"), 1.0);
}

TEST(ProjCoordSys, XIsEastWhateverTheOrderOfTheAxes) {
  // EPSG tells both with the northing first.
  XYZPoint const krueger = converted(geographic(true, false), systemOf("EPSG:31467"), {9.0, 51.0, 0.0});
  EXPECT_NEAR(krueger.x, 3500000.0, 200.0);
  EXPECT_NEAR(krueger.y, 5651000.0, 2000.0);
  XYZPoint const etrs = converted(geographic(true, false), systemOf("EPSG:4258"), {9.0, 51.0, 25.0});
  EXPECT_NEAR(etrs.x, 9.0, 1e-9);
  EXPECT_NEAR(etrs.y, 51.0, 1e-9);
  EXPECT_NEAR(etrs.z, 25.0, 1e-6);
  // Polar stereographic: x along 90 E.
  XYZPoint const polar = converted(geographic(true, false), systemOf("EPSG:3031"), {90.0, -80.0, 0.0});
  EXPECT_GT(polar.x, 1e6);
  EXPECT_NEAR(polar.y, 0.0, 1e-6);
}

// Seven parameters of zero are no shift: only the ellipsoid differs, and with the same one nothing does.
TEST(ProjCoordSys, BoundSystem) {
  expectAsProj("+proj=utm +zone=33 +ellps=WGS84 +towgs84=0,0,0,0,0,0,0", "EPSG:32633", ZONE_33, 1e-6);
  // Geocentric coordinates of the system plus (10, 20, 30) are those of WGS 84: where the equator meets Greenwich the
  // system has x less by 10, and its angles are those of 20 m to the west and 30 m to the south.
  XYZPoint const shifted =
      converted(geographic(), systemOf("+proj=longlat +ellps=WGS84 +towgs84=10,20,30"), {0.0, 0.0, 0.0});
  EXPECT_NEAR(shifted.x * DEGREE * test::A84, -20.0, 1e-4);
  EXPECT_NEAR(shifted.y * DEGREE * test::B84 * test::B84 / test::A84, -30.0, 1e-3);
  EXPECT_NEAR(shifted.z, -10.0, 1e-3);
}

TEST(ProjCoordSys, GridOfADatumShift) {
  System const system = systemOf("+proj=longlat +ellps=bessel +nadgrids=BETA2007.gsb");
  test::ProjReference const grid("+proj=hgridshift +grids=BETA2007.gsb");
  test::Random random(62);
  for (int i = 0; i < 200; ++i) {
    XYZPoint const place(random.between(GERMANY.west, GERMANY.east), random.between(GERMANY.south, GERMANY.north),
                         50.0);
    XYZPoint const expected = grid.forward({place.x * DEGREE, place.y * DEGREE, 50.0});
    XYZPoint const point = converted(system, geographic(), place);
    EXPECT_NEAR(point.x, expected.x, 1e-14);
    EXPECT_NEAR(point.y, expected.y, 1e-14);
  }
}

TEST(ProjCoordSys, WktAndProjJsonDefinitions) {
  PJ_CONTEXT* const context = proj_context_create();
  PJ* const crs = proj_create(context, "EPSG:32633+5773");
  char const* const multiline[] = {"MULTILINE=YES", nullptr};
  std::string const wkt2 = proj_as_wkt(context, crs, PJ_WKT2_2019, multiline);
  std::string const wkt1 = proj_as_wkt(context, crs, PJ_WKT1_GDAL, multiline);
  std::string const json = proj_as_projjson(context, crs, multiline);
  proj_destroy(crs);
  proj_context_destroy(context);

  XYZPoint const place(16.0, -33.0, 700.0);
  XYZPoint const expected = converted(geographic(true, false), systemOf("EPSG:32633+5773"), place);
  for (std::string const& definition : {wkt2, wkt1, json, "\n  " + wkt2 + " \t\n"}) {
    XYZPoint const point = converted(geographic(true, false), systemOf(definition), place);
    EXPECT_LT(test::distance(point, expected), 1e-7) << definition;
  }
}

TEST(ProjCoordSys, ProjStringNeedsNoType) {
  XYZPoint const place(16.0, -33.0, 700.0);
  XYZPoint const expected = converted(geographic(true, false), systemOf("EPSG:32633"), place);
  for (char const* definition : {"+proj=utm +zone=33 +datum=WGS84 +units=m +no_defs +type=crs",
                                 "+proj=utm +zone=33 +datum=WGS84", "proj=utm zone=33 datum=WGS84"}) {
    EXPECT_LT(test::distance(converted(geographic(true, false), systemOf(definition), place), expected), 1e-8)
        << definition;
  }
}

TEST(ProjCoordSys, GeocentricOfAnotherDatum) {
  XYZPoint const place(0.2, 0.9, 100.0);
  XYZPoint const wgs84 = converted(geographic(), systemOf("EPSG:4978"), place);
  EXPECT_LT(test::distance(converted(geographic(), systemOf("EPSG:4936"), place), wgs84), 1e-7);
}

TEST(ProjCoordSys, ConversionSaysItsStepsAndGrids) {
  geo::Conversion const utm = systemOf("EPSG:32633")->conversionAt({500000.0, 5540000.0, 0.0});
  EXPECT_THAT(utm.pipeline, testing::HasSubstr("+inv +proj=utm +zone=33 +ellps=WGS84"));
  EXPECT_FALSE(utm.name.empty());
  EXPECT_TRUE(utm.grids.empty());
  geo::Conversion const aboveGeoid = systemOf("EPSG:32633+5773")->conversionAt({500000.0, 5540000.0, 0.0});
  EXPECT_THAT(aboveGeoid.pipeline,
              testing::HasSubstr("+step +proj=vgridshift +grids=us_nga_egm96_15.tif +multiplier=1 "));
  EXPECT_EQ(aboveGeoid.grids, std::vector<std::string>{"egm96_15.gtx"});
}

TEST(ProjCoordSys, ConversionNamesAGridThatWasOptional) {
  System const system = systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@nosuch.gtx,@egm96_15.gtx");
  EXPECT_THAT(system->conversionAt({500000.0, 5540000.0, 0.0}).grids, testing::Contains("@egm96_15.gtx"));
}

TEST(ProjCoordSys, ClosedFormulaeHaveNoSteps) {
  geo::Conversion const closed = geographic()->conversionAt({0.1, 0.2, 0.0});
  EXPECT_EQ(closed.name, "");
  EXPECT_EQ(closed.pipeline, "");
  EXPECT_TRUE(closed.grids.empty());
}
