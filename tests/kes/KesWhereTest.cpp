// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "../platform/ElevationSupport.h"
#include "Kes.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"

#include <nlohmann/json.hpp>

#include <cmath>

// `kes where`.

namespace {

using nlohmann::json;
using test::kesBesidesDatum;
using test::KesRun;
using testing::HasSubstr;

constexpr double degrees = 57.29577951308232;
constexpr char const* local = "+proj=topocentric +datum=WGS84 +lon_0=-1.4r +lat_0=0.6r +h_0=500 +type=crs";

// The small strip flies to the east at 1000 m, 1 m a line, and sees 2 m in a pixel with sample 50 in the middle: a
// point at (x, y, 0) is at sample 50 + y / 2, line x.
class KesWhere : public test::BlockFolder {
protected:
  KesRun where(std::vector<std::string> const& point, std::vector<std::string> const& options = {}) const {
    std::vector<std::string> arguments{"where", mStrip.write(mFolder)};
    arguments.insert(arguments.end(), point.begin(), point.end());
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kesBesidesDatum(arguments);
  }
  // The anchor's height, but for a ridge along the flight, 30 m to its left; cells of about 500 m by 20 m.
  std::string dem(double ridge = 0.0) const {
    constexpr double metresPerLongitude = 92000.0;
    constexpr double metresPerLatitude = 110900.0;
    test::ElevationRaster raster;
    raster.system = "EPSG:4326";
    raster.geoTransform = {-1.4 * degrees - 1000.0 / metresPerLongitude,
                           500.0 / metresPerLongitude,
                           0.0,
                           0.6 * degrees + 60.0 / metresPerLatitude,
                           0.0,
                           -20.0 / metresPerLatitude};
    raster.fill([&](int, int row) { return row == 1 ? 500.0 + ridge : 500.0; });
    return raster.write(mFolder);
  }
};

TEST_F(KesWhere, PixelViewAndGsdOfEachImage) {
  mStrip.bands.push_back({"PANF27A", 25.0});
  KesRun const run = where({"60", "20", "0"}, {"--crs", local, "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const images = json::parse(run.out)["images"];
  ASSERT_EQ(images.size(), 1U);  // the other one looks 500 m ahead
  json const& image = images[0];
  EXPECT_EQ(image["strip"], "Small");
  EXPECT_EQ(image["band"], "PANN00A");
  EXPECT_NEAR(image["sample"].get<double>(), 60.0, 1e-5);
  EXPECT_NEAR(image["line"].get<double>(), 60.0, 1e-5);
  EXPECT_NEAR(image["fromEdge"].get<double>(), 40.5, 1e-5);
  EXPECT_NEAR(image["time"].get<double>(), 100.6, 1e-7);
  EXPECT_NEAR(std::cos(image["azimuth"].get<double>() / degrees), 1.0, 1e-9);
  EXPECT_NEAR(image["zenith"].get<double>(), std::atan(20.0 / 1000.0) * degrees, 1e-5);
  EXPECT_NEAR(image["gsdAcross"].get<double>(), 2.0, 1e-5);
  EXPECT_NEAR(image["gsdAlong"].get<double>(), 1.0, 1e-5);
  EXPECT_TRUE(image["hidden"].is_null());
}

TEST_F(KesWhere, ObliqueLookHasItsAngles) {
  mStrip.bands = {{"PANF27A", 25.0}};
  json const image = json::parse(where({"560", "0", "0"}, {"--crs", local, "--json"}).out)["images"][0];
  EXPECT_NEAR(image["azimuth"].get<double>(), 90.0, 1e-4);
  EXPECT_NEAR(image["zenith"].get<double>(), std::atan(0.5) * degrees, 1e-5);
}

TEST_F(KesWhere, AzimuthGoesAllAround) {
  json const image = json::parse(where({"50", "-20", "0"}, {"--crs", local, "--json"}).out)["images"][0];
  EXPECT_NEAR(image["azimuth"].get<double>(), 180.0, 1e-4);
  mStrip.bands = {{"PANB14A", -25.0}};
  json const back = json::parse(where({"-440", "0", "0"}, {"--crs", local, "--json"}).out)["images"][0];
  EXPECT_NEAR(back["azimuth"].get<double>(), 270.0, 1e-4);
}

TEST_F(KesWhere, HeightIsThatOfTheElevationModel) {
  KesRun const run = where({"60", "20"}, {"--crs", local, "--dem", dem(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const found = json::parse(run.out);
  EXPECT_NEAR(found["position"]["z"].get<double>(), 0.0, 1e-3);
  EXPECT_EQ(found["images"][0]["hidden"], false);
}

// 400 m high, it hides what lies beyond it as seen from the flight line.
TEST_F(KesWhere, PointBeyondARidgeIsHidden) {
  EXPECT_THAT(where({"60", "45", "0"}, {"--crs", local, "--dem", dem(400.0)}).out, testing::ContainsRegex(" yes\n"));
  EXPECT_THAT(where({"60", "-5", "0"}, {"--crs", local, "--dem", dem(400.0)}).out, testing::ContainsRegex(" no\n"));
  EXPECT_THAT(where({"60", "45", "0"}, {"--crs", local, "--dem", dem()}).out, testing::ContainsRegex(" no\n"));
}

TEST_F(KesWhere, PointThatNoImageShowsIsAFailure) {
  KesRun const run = where({"60", "500", "0"}, {"--crs", local, "--json"});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: no image shows the point\n");
  EXPECT_EQ(json::parse(run.out)["images"].size(), 0U);
  EXPECT_THAT(where({"36.6", "-84.2", "500"}).err,
              testing::StartsWith("kes: error: no image shows the point, which lies "));
}

TEST_F(KesWhere, HeightIsNeeded) {
  EXPECT_EQ(where({"60", "20"}, {"--crs", local}).err, "kes: error: the point has no height: give Z or --dem\n");
  EXPECT_EQ(where({"60000", "20"}, {"--crs", local, "--dem", dem()}).err,
            "kes: error: the elevation model has no height at the point\n");
}

}  // namespace
