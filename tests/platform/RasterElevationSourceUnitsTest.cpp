// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <geo/units.h>

namespace {

using dsm::RasterElevationSource;
using geo::XYZPoint;
using test::ElevationRaster;
using test::heightAt;

constexpr double FOOT = 0.3048;
constexpr double US_FOOT = 1200.0 / 3937.0;
/// Height of EGM96 above the ellipsoid at 50 N 15 E, metres.
constexpr double GEOID = 44.796;

/// 49.9996 N 15 E in zone 33, in all rasters of these tests.
constexpr XYZPoint PLACE(500000.0, 5538620.0, 0.0);

/// One value everywhere.
ElevationRaster level(double value, std::string const& system, std::string const& unit = "") {
  ElevationRaster raster;
  raster.values.assign(static_cast<std::size_t>(raster.columns) * static_cast<std::size_t>(raster.rows), value);
  raster.geoTransform = {499980.0, 10.0, 0.0, 5538640.0, 0.0, -10.0};
  raster.system = system;
  raster.unit = unit;
  return raster;
}

class RasterElevationUnits : public testing::Test {
protected:
  RasterElevationSource source(ElevationRaster const& raster) { return RasterElevationSource(raster.write(mFolder)); }

  float height(ElevationRaster const& raster) { return heightAt(source(raster), PLACE).value_or(-1.0F); }
  /// The height above the WGS 84 ellipsoid in metres that the surface comes to.
  double ellipsoidalHeight(ElevationRaster const& raster) { return ellipsoidalHeight(source(raster)); }
  static double ellipsoidalHeight(RasterElevationSource const& dem) {
    XYZPoint point = PLACE;
    point.z = static_cast<double>(heightAt(dem, point).value_or(-1.0F));
    EXPECT_EQ(geo::coordSys::transform(dem.coordSystem(), test::geographic().get(), point, point), 0);
    return point.z;
  }

  test::TempFolder mFolder;
};

TEST_F(RasterElevationUnits, BandWithoutAUnitIsInThatOfTheVerticalAxis) {
  EXPECT_EQ(height(level(250.0, "EPSG:32633")), 250.0F);
  EXPECT_EQ(height(level(250.0, "EPSG:32633", "unknown")), 250.0F);
}

TEST_F(RasterElevationUnits, MetresHaveManyNames) {
  for (char const* unit : {"m", "M", "metre", "meter", "Meters", "metres"}) {
    EXPECT_EQ(height(level(250.0, "EPSG:32633", unit)), 250.0F) << unit;
  }
}

TEST_F(RasterElevationUnits, FeetBecomeMetresWhereTheSystemHasThem) {
  for (char const* unit : {"ft", "foot", "feet", "FOOT", "international foot", "Foot (International)"}) {
    EXPECT_EQ(height(level(1000.0, "EPSG:32633", unit)), static_cast<float>(1000.0 * FOOT)) << unit;
  }
  for (char const* unit : {"US survey foot", "us-ft", "Foot_US", "US_survey_foot", "ftUS", "US survey feet", "US foot",
                           "US feet", "usft"}) {
    EXPECT_THAT(height(level(1e6, "EPSG:32633", unit)), test::WithinUlps(static_cast<float>(1e6 * US_FOOT), 1)) << unit;
  }
  // At a million the two feet are half a metre apart.
  EXPECT_NEAR(height(level(1e6, "EPSG:32633", "us-ft")) - height(level(1e6, "EPSG:32633", "ft")),
              1e6 * (US_FOOT - FOOT), 0.05);
}

TEST_F(RasterElevationUnits, OtherLengthsAreConverted) {
  EXPECT_EQ(height(level(12345.0, "EPSG:32633", "cm")), 123.45F);
  EXPECT_EQ(height(level(1.5, "EPSG:32633", "km")), 1500.0F);
  EXPECT_EQ(height(level(10.0, "EPSG:32633", "fathom")), 18.288F);
}

TEST_F(RasterElevationUnits, ScaleAndOffsetComeBeforeTheUnit) {
  auto raster = level(100.0, "EPSG:32633", "ft");
  raster.scale = 2.0;
  raster.offset = 50.0;
  EXPECT_EQ(height(raster), static_cast<float>(250.0 * FOOT));
}

TEST_F(RasterElevationUnits, HorizontalUnitDoesNotCount) {
  // Eastings in US survey feet, no vertical part: heights are in metres.
  EXPECT_EQ(height(level(250.0, "EPSG:2272")), 250.0F);
  EXPECT_EQ(height(level(250.0, "EPSG:2272", "m")), 250.0F);
  EXPECT_EQ(height(level(250.0, "EPSG:2272", "ft")), static_cast<float>(250.0 * FOOT));
}

/// Systems with a vertical axis in feet, in a VRT, which keeps every system as it is.
class VerticalFeet : public RasterElevationUnits {
protected:
  static constexpr char const* ABOVE_GEOID =
      "+proj=utm +zone=33 +datum=WGS84 +geoidgrids=egm96_15.gtx +vunits=us-ft +type=crs";

  RasterElevationSource source(double value, std::string const& unit, std::string const& system = ABOVE_GEOID) {
    level(value, "EPSG:32633").write(mFolder, "metres.tif");
    return RasterElevationSource(mFolder.file(
        "feet.vrt", "<VRTDataset rasterXSize=\"5\" rasterYSize=\"4\"><SRS>" + system +
                        "</SRS><GeoTransform>499980, 10, 0, 5538640, 0, -10</GeoTransform>"
                        "<VRTRasterBand dataType=\"Float32\" band=\"1\"><UnitType>" +
                        unit +
                        "</UnitType><SimpleSource><SourceFilename relativeToVRT=\"1\">metres.tif</SourceFilename>"
                        "<SourceBand>1</SourceBand></SimpleSource></VRTRasterBand></VRTDataset>"));
  }
};

TEST_F(VerticalFeet, HeightsComeOutInTheUnitOfTheVerticalAxis) {
  auto const dem = source(1000.0, "");
  EXPECT_NEAR(dem.coordSystem()->verticalUnits().getScale(), US_FOOT, 1e-12);
  EXPECT_EQ(heightAt(dem, PLACE), 1000.0F);
  EXPECT_NEAR(ellipsoidalHeight(dem), 1000.0 * US_FOOT + GEOID, 0.01);
}

TEST_F(VerticalFeet, BandInTheSameUnitIsNotConverted) {
  EXPECT_EQ(heightAt(source(1000.0, "US survey foot"), PLACE), 1000.0F);
}

TEST_F(VerticalFeet, BandInMetresIsConverted) {
  auto const dem = source(300.0, "m");
  EXPECT_THAT(heightAt(dem, PLACE).value(), test::WithinUlps(static_cast<float>(300.0 / US_FOOT), 1));
  EXPECT_NEAR(ellipsoidalHeight(dem), 300.0 + GEOID, 0.01);
}

TEST_F(VerticalFeet, BandInTheOtherFootIsConverted) {
  // 2 feet in a million, which a float of that size shows in sixteenths.
  EXPECT_NEAR(heightAt(source(1e6, "ft"), PLACE).value(), 1e6 * FOOT / US_FOOT, 1.0 / 16.0);
}

TEST_F(VerticalFeet, HeightsAboveTheEllipsoidInFeet) {
  auto const dem = source(1000.0, "", "+proj=utm +zone=33 +datum=WGS84 +vunits=ft +type=crs");
  EXPECT_NEAR(dem.coordSystem()->verticalUnits().getScale(), FOOT, 1e-15);
  EXPECT_EQ(heightAt(dem, PLACE), 1000.0F);
  EXPECT_NEAR(ellipsoidalHeight(dem), 1000.0 * FOOT, 1e-6);
}

TEST_F(RasterElevationUnits, VerticalPartOfTheSystemIsKept) {
  auto const raster = level(100.0, "EPSG:32633+5773");
  EXPECT_EQ(height(raster), 100.0F);
  EXPECT_NEAR(ellipsoidalHeight(raster), 100.0 + GEOID, 0.01);
}

TEST_F(RasterElevationUnits, VerticalPartIsKeptInFilesOfBothVersionsOfTheFormat) {
  for (char const* version : {"GEOTIFF_VERSION=1.0", "GEOTIFF_VERSION=1.1"}) {
    auto raster = level(100.0, "EPSG:32633+5773");
    raster.options = {version};
    EXPECT_NEAR(ellipsoidalHeight(raster), 100.0 + GEOID, 0.01) << version;
  }
}

TEST_F(RasterElevationUnits, VerticalPartIsKeptAgainstTheProcessesSetting) {
  CPLConfigOptionSetter const without("GTIFF_REPORT_COMPD_CS", "NO", false);
  auto const raster = level(100.0, "EPSG:32633+5773");
  EXPECT_NEAR(ellipsoidalHeight(raster), 100.0 + GEOID, 0.01);
  EXPECT_STREQ(CPLGetConfigOption("GTIFF_REPORT_COMPD_CS", ""), "NO");
}

TEST_F(RasterElevationUnits, WithoutAVerticalPartHeightsAreEllipsoidal) {
  EXPECT_NEAR(ellipsoidalHeight(level(100.0, "EPSG:32633")), 100.0, 1e-6);
}

/// What heights count from, given with the raster.
class RasterElevationVertical : public RasterElevationUnits {
protected:
  RasterElevationSource sourceWith(ElevationRaster const& raster, std::string const& vertical) {
    return RasterElevationSource(raster.write(mFolder), RasterElevationSource::DEFAULT_CACHE_SIZE, util::Origin::user,
                                 vertical);
  }
  std::string reason(ElevationRaster const& raster, std::string const& vertical) {
    return test::messageOf([&] { sourceWith(raster, vertical); });
  }
  std::string const mPrefix = "Can't open elevation model \"" + (mFolder / "dem.tif") + "\": ";
};

TEST_F(RasterElevationVertical, DatumIsTheOneThatTheFileLacks) {
  auto const plain = source(level(250.0, "EPSG:32633"));
  EXPECT_FALSE(plain.hasVerticalDatum());
  EXPECT_NEAR(ellipsoidalHeight(plain), 250.0, 1e-6);
  auto const aboveGeoid = sourceWith(level(250.0, "EPSG:32633"), "EPSG:5773");
  EXPECT_TRUE(aboveGeoid.hasVerticalDatum());
  EXPECT_NEAR(ellipsoidalHeight(aboveGeoid), 250.0 + GEOID, 0.01);
}

TEST_F(RasterElevationVertical, DatumOfTheFileMayBeRepeatedButNotChanged) {
  auto const raster = level(250.0, "EPSG:32633+5773");
  EXPECT_TRUE(source(raster).hasVerticalDatum());
  EXPECT_NEAR(ellipsoidalHeight(sourceWith(raster, "EPSG:5773")), 250.0 + GEOID, 0.01);
  EXPECT_EQ(reason(raster, "EPSG:3855"), mPrefix + "its heights are \"EGM96 height\" already, not \"EGM2008 height\"");
}

TEST_F(RasterElevationVertical, ThirdAxisOfAGeographicSystemIsADatum) {
  auto raster = level(250.0, "EPSG:4979");
  raster.geoTransform = {14.9, 0.1, 0.0, 50.1, 0.0, -0.1};
  EXPECT_TRUE(source(raster).hasVerticalDatum());
  EXPECT_EQ(reason(raster, "EPSG:5773"), mPrefix + "its heights are \"WGS 84\" already, not \"EGM96 height\"");
}

TEST_F(RasterElevationVertical, OnlyVerticalSystemsAreTaken) {
  for (std::string const definition : {"EPSG:32633", "EPSG:32633+5773", "nonsense"}) {
    EXPECT_EQ(reason(level(250.0, "EPSG:32633"), definition),
              mPrefix + "\"" + definition + "\" isn't a vertical coordinate system");
  }
}

}  // namespace
