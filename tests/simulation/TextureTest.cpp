// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>
#include <simulation/ValueNoise.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

using simulation::RasterTexture;
using simulation::ShadedTexture;
using simulation::Terrain;
using simulation::ValueNoise;
using test::ElevationRaster;

class Textures : public testing::Test {
protected:
  // 400 columns of 10 m and 300 rows of 12 m, at the central meridian of the zone.
  static ElevationRaster raster() {
    ElevationRaster result;
    result.columns = 400;
    result.rows = 300;
    result.geoTransform = {498000.0, 10.0, 0.0, 5400000.0, 0.0, -12.0};
    return result;
  }
  // Mean brightness all over a terrain. The noise is 0.5 in the mean.
  double meanOver(ElevationRaster const& dem) const {
    Terrain const terrain(dem.write(mFolder));
    ShadedTexture const texture(terrain, 1, 0.2);
    double sum = 0.0;
    int count = 0;
    for (double column = 5.0; column < 395.0; column += 3.37) {
      for (double row = 5.0; row < 295.0; row += 3.37, ++count) {
        sum += texture.value(terrain.position({column, row}));
      }
    }
    return sum / count;
  }
  test::TempFolder mFolder;
};

// The sun is in the north-west at 45 degrees: the shade is cos 45 on level ground, 1 on a slope of 45 degrees towards
// it, 0 on one away from it, and on one towards the north-east (at a right angle to the sun's direction) cos 45 cos 45.
TEST_F(Textures, SlopesAreShaded) {
  double const noise = 0.15 + 0.35 * 0.5;
  double const s = std::sqrt(0.5);
  auto const slope = [&](double east, double north) {
    return meanOver(raster().fill(
        [&](int column, int row) { return 5000.0 + east * 10.0 * (column - 200) - north * 12.0 * (row - 150); }));
  };
  EXPECT_NEAR(slope(0.0, 0.0) / 65535.0, noise + 0.45 * s, 0.005);
  EXPECT_NEAR(slope(s, -s) / 65535.0, noise + 0.45, 0.005) << "rises to the south-east, so faces the north-west";
  EXPECT_NEAR(slope(-s, s) / 65535.0, noise, 0.005);
  EXPECT_NEAR(slope(-s, -s) / 65535.0, noise + 0.45 * 0.5, 0.005);
}

TEST_F(Textures, ShadeCountsFeetAsFeet) {
  ElevationRaster dem = raster();
  dem.unit = "ft";
  double const s = std::sqrt(0.5);
  double const brightness =
      meanOver(dem.fill([&](int column, int row) { return (s * 10.0 * column + s * 12.0 * row) / 0.3048; }));
  EXPECT_NEAR(brightness / 65535.0, 0.15 + 0.35 * 0.5 + 0.45, 0.005);
}

TEST_F(Textures, ShadeIsThatOfDegreesToo) {
  ElevationRaster dem = raster();
  dem.system = "EPSG:4326";
  double const metre = 1.0 / 111194.0;  // in degrees, of a mean sphere
  double const narrow = std::cos(60.0 * 0.017453292519943295);
  dem.geoTransform = {15.0, 10.0 * metre / narrow, 0.0, 60.0, 0.0, -12.0 * metre};
  double const s = std::sqrt(0.5);
  double const brightness = meanOver(dem.fill([&](int column, int row) { return s * 10.0 * column + s * 12.0 * row; }));
  EXPECT_NEAR(brightness / 65535.0, 0.15 + 0.35 * 0.5 + 0.45, 0.005);
}

TEST_F(Textures, BrightnessIsNeverZeroOnTheTerrainAndZeroBeside) {
  Terrain const terrain(KESSENSOR_TERRAIN);
  ShadedTexture const texture(terrain, 3, 0.2);
  for (double column = 0.1; column < 403.0; column += 1.7) {
    double const value = texture.value(terrain.position({column, 0.8 * column}));
    EXPECT_GE(value, 0.15 * 65535.0);
    EXPECT_LE(value, 0.95 * 65535.0);
  }
  EXPECT_EQ(texture.value(terrain.position({-1.0, 100.0})), 0.0);
  EXPECT_EQ(texture.value(terrain.position({100.0, 345.0})), 0.0);
  EXPECT_EQ(texture.at({std::nan(""), 0.0, 0.0}), 0.0);
}

TEST_F(Textures, PlacesMayBeGivenAsLongitudeAndLatitude) {
  Terrain const terrain(raster().fill([](int column, int) { return column; }).write(mFolder));
  ShadedTexture const texture(terrain, 3, 0.2);
  geo::XYZPoint position = terrain.position({123.4, 56.7});
  double const value = texture.value(position);
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  geo::coordSys::transform(terrain.source().coordSystem(), geographic.get(), position, position);
  EXPECT_NEAR(texture.at(position), value, 0.1);
}

// Two terrains of other cells: the pattern belongs to the ground's metres. Flat, so that nothing but the pattern
// counts.
TEST_F(Textures, PatternIsFixedToTheMiddleOfTheTerrain) {
  Terrain const coarse(raster().fill([](int, int) { return 7.0; }).write(mFolder, "coarse.tif"));
  ElevationRaster fineRaster = raster();
  fineRaster.columns = 800;
  fineRaster.geoTransform[1] = 5.0;
  Terrain const fine(fineRaster.fill([](int, int) { return 90.0; }).write(mFolder, "fine.tif"));
  ShadedTexture const a(coarse, 3, 0.2);
  ShadedTexture const b(fine, 3, 0.2);
  for (double x = 499000.0; x < 501000.0; x += 77.7) {
    geo::XYZPoint const position(x, 5398765.4, 0.0);
    EXPECT_NEAR(a.value(position), b.value(position), 1.0);
  }
}

TEST(ValueNoise, FollowsFromItsSeed) {
  EXPECT_EQ(ValueNoise(1, -1, 6).at(12.3, 45.6), ValueNoise(1, -1, 6).at(12.3, 45.6));
  EXPECT_NE(ValueNoise(1, -1, 6).at(12.3, 45.6), ValueNoise(2, -1, 6).at(12.3, 45.6));
  EXPECT_NE(ValueNoise(1, -1, 6).at(12.3, 45.6), ValueNoise(1, -1, 6).at(45.6, 12.3));
  EXPECT_NE(ValueNoise(1, -1, 6).at(12.3, 45.6), ValueNoise(1, -1, 6).at(-12.3, 45.6));
}

// A uniform value at corners: mean 1/2, variance 1/12.
TEST(ValueNoise, CornersAreUniform) {
  ValueNoise const noise(5, 0, 0);
  double sum = 0.0;
  double squares = 0.0;
  constexpr int side = 200;
  for (int i = -side / 2; i < side / 2; ++i) {
    for (int j = -side / 2; j < side / 2; ++j) {
      double const value = noise.at(i, j);
      EXPECT_GE(value, 0.0);
      EXPECT_LT(value, 1.0);
      sum += value;
      squares += value * value;
    }
  }
  double const mean = sum / (side * side);
  EXPECT_NEAR(mean, 0.5, 4 * std::sqrt(1.0 / 12) / side);
  EXPECT_NEAR(squares / (side * side) - mean * mean, 1.0 / 12, 0.002);
}

// 6t^5 - 15t^4 + 10t^3 at 1/4 is 53/512.
TEST(ValueNoise, RunsSmoothlyBetweenCorners) {
  ValueNoise const noise(5, 3, 3);  // squares of 8
  double const a = noise.at(16.0, 24.0);
  double const b = noise.at(24.0, 24.0);
  double const c = noise.at(16.0, 32.0);
  EXPECT_NEAR(noise.at(18.0, 24.0), a + (b - a) * 53.0 / 512.0, 1e-12);
  EXPECT_NEAR(noise.at(16.0, 28.0), 0.5 * (a + c), 1e-12);
  EXPECT_NEAR(noise.at(24.0 - 1e-9, 24.0), b, 1e-9);
  EXPECT_NEAR(noise.at(-1e-9, -1e-9), noise.at(1e-9, 1e-9), 1e-9);
}

TEST(ValueNoise, CoarserOctavesAreShared) {
  double const x = 77.77;
  double const y = -1234.5;
  double const two = ValueNoise(9, 4, 5).at(x, y);
  double const three = ValueNoise(9, 3, 5).at(x, y);
  EXPECT_NEAR(3.0 * three - 2.0 * two, ValueNoise(9, 3, 3).at(x, y), 1e-12);
  EXPECT_EQ(ValueNoise(9, 8, 5).at(x, y), ValueNoise(9, 8, 8).at(x, y)) << "one octave at the least";
}

TEST(ValueNoise, HasNoValueFarAway) {
  EXPECT_TRUE(std::isnan(ValueNoise(9, 0, 3).at(1e300, 0.0)));
  EXPECT_TRUE(std::isnan(ValueNoise(9, 0, 3).at(0.0, std::nan(""))));
}

TEST_F(Textures, RasterIsSampledBilinearlyBetweenCentres) {
  ElevationRaster image = raster();
  image.type = GDT_UInt16;
  RasterTexture const texture(image.fill([](int column, int row) { return 100.0 * column + row; }).write(mFolder));
  auto const value = [&](double column, double row) { return texture.value(image.at(column, row)); };
  EXPECT_NEAR(value(10.5, 20.5), 1020.0, 1e-3);
  EXPECT_NEAR(value(10.75, 20.5), 1045.0, 1e-3);
  EXPECT_NEAR(value(10.5, 21.3), 1020.8, 1e-3);
  EXPECT_EQ(value(-1.0, 20.0), 0.0);
}

TEST_F(Textures, RasterValuesAreLimited) {
  ElevationRaster image = raster();
  image.noData = 5.0;
  RasterTexture const texture(
      image.fill([](int column, int) { return column < 100   ? -3.0
                                              : column < 200 ? 1e6
                                                             : 5.0; }).write(mFolder));
  EXPECT_EQ(texture.value(image.at(50.5, 20.5)), 0.0);
  EXPECT_EQ(texture.value(image.at(150.5, 20.5)), 65535.0);
  EXPECT_EQ(texture.value(image.at(250.5, 20.5)), 0.0) << "no data";
}

TEST_F(Textures, FileThatIsntARasterIsRefused) {
  std::string const text = mFolder.file("text.tif", "not an image");
  EXPECT_THAT(test::messageOf([&] { RasterTexture{text}; }), testing::StartsWith("can't use texture " + text + ": "));
  EXPECT_MESSAGE(RasterTexture{mFolder / "none.tif"},
                 "can't use texture " + (mFolder / "none.tif") + ": No such file or directory");
}

// A raster that is cut fails where it is read.
TEST_F(Textures, RasterThatCantBeReadSaysSo) {
  ElevationRaster image = raster();
  std::string const file = image.fill([](int, int) { return 7.0; }).write(mFolder);
  std::string const bytes = test::contents(file);
  RasterTexture const texture(mFolder.file("cut.tif", bytes.substr(0, bytes.size() / 2)));
  EXPECT_THAT(test::messageOf([&] { texture.value(image.at(200.0, 295.0)); }),
              testing::StartsWith("can't use texture " + (mFolder / "cut.tif") + ": "));
}

}  // namespace
