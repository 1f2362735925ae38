// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"
#include "support/Matchers.h"

#include <geo/coordSysFactory.h>
#include <kesgdal/OrthoTransformer.h>

#include <gdal_alg.h>

#include <cmath>
#include <cstring>
#include <thread>

namespace {

using kesgdal::GeoTransform;
using kesgdal::OrthoTransformer;
using test::OrthoFlight;

constexpr int toImage = 1;
constexpr int toRaster = 0;

struct Positions {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> z;
  std::vector<int> success;

  void add(double px, double py) {
    x.push_back(px);
    y.push_back(py);
    z.push_back(7.0);
    success.push_back(-1);
  }
  std::size_t size() const { return x.size(); }
  int count() const { return static_cast<int>(size()); }
};

Positions transformed(void* argument, int direction, Positions positions) {
  EXPECT_EQ(OrthoTransformer::transform(argument, direction, positions.count(), positions.x.data(), positions.y.data(),
                                        positions.z.data(), positions.success.data()),
            1);
  return positions;
}

// A grid over the box around the strip, in map coordinates, with steps that differ.
Positions mapGrid(OrthoFlight const& flight) {
  Positions positions;
  geo::XYPoint const origin = flight.mapOf({0.0, 0.0, 0.0});
  for (double y = -130.0; y <= 130.0; y += 11.0) {
    for (double x = -40.0; x <= 340.0; x += 7.0) {
      positions.add(origin.x + x, origin.y + y);
    }
  }
  return positions;
}

bool hasSameBits(Positions const& a, Positions const& b) {
  return std::equal(a.x.begin(), a.x.end(), b.x.begin(), b.x.end(),
                    [](double p, double q) { return test::bitsOf(p) == test::bitsOf(q); }) &&
         std::equal(a.y.begin(), a.y.end(), b.y.begin(), b.y.end(),
                    [](double p, double q) { return test::bitsOf(p) == test::bitsOf(q); }) &&
         a.success == b.success;
}

TEST(OrthoTransformer, MapPositionsGoToThePixelsOfTheFormula) {
  OrthoFlight const flight;
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions const map = mapGrid(flight);
  Positions const image = transformed(transformer.argument(), toImage, map);
  for (std::size_t i = 0; i < map.size(); ++i) {
    geo::XYPoint const expected = flight.image(*flight.ground({map.x[i], map.y[i]}));
    ASSERT_EQ(image.success[i], 1);
    EXPECT_NEAR(image.x[i], expected.x + 0.5, 0.002);
    EXPECT_NEAR(image.y[i], expected.y + 0.5, 0.01);
    EXPECT_EQ(image.z[i], 7.0);
  }
}

TEST(OrthoTransformer, PositionsAreThoseOfTheModelsOwnProjection) {
  OrthoFlight flight(0.7);
  OrthoTransformer const transformer(flight.band(1), flight.map, *flight.terrain);
  Positions const map = mapGrid(flight);
  Positions const image = transformed(transformer.argument(), toImage, map);
  for (std::size_t i = 0; i < map.size(); ++i) {
    std::vector<geo::XYZPoint> ground{{map.x[i], map.y[i], 0.0}};
    std::vector<double> height(1);
    ASSERT_EQ(flight.terrain->heights(ground, height), 1U);
    kes::ToImageOptions options;
    options.system = flight.map;
    options.solver = kes::Solver::libraryPoint;
    geo::XYPoint const expected = flight.band(1).toImage({map.x[i], map.y[i], height[0]}, options).position;
    EXPECT_NEAR(image.x[i], expected.x + 0.5, 0.002);
    EXPECT_NEAR(image.y[i], expected.y + 0.5, 0.002);
  }
}

TEST(OrthoTransformer, PixelsOfTheRasterAreTakenByItsGeotransform) {
  OrthoFlight const flight;
  geo::XYPoint const corner = flight.mapOf({20.0, 60.0, 0.0});
  GeoTransform const raster = {corner.x, 0.5, 0.25, corner.y, -0.125, -0.75};
  OrthoTransformer const onRaster(flight.band(0), flight.map, *flight.terrain, raster);
  OrthoTransformer const onMap(flight.band(0), flight.map, *flight.terrain);
  Positions pixels;
  pixels.add(30.0, 80.0);
  Positions map;
  map.add(corner.x + 0.5 * 30.0 + 0.25 * 80.0, corner.y - 0.125 * 30.0 - 0.75 * 80.0);
  Positions const a = transformed(onRaster.argument(), toImage, pixels);
  Positions const b = transformed(onMap.argument(), toImage, map);
  EXPECT_NEAR(a.x[0], b.x[0], 1e-4);
  EXPECT_NEAR(a.y[0], b.y[0], 1e-4);
  Positions const back = transformed(onRaster.argument(), toRaster, a);
  EXPECT_NEAR(back.x[0], 30.0, 0.06);
  EXPECT_NEAR(back.y[0], 80.0, 0.06);
}

// A row of a raster, with columns in no order, against each position asked for alone; the solver's last bits depend on
// the run.
void expectRowsAsPositions(OrthoFlight const& flight) {
  geo::XYPoint const corner = flight.mapOf({-10.0, 60.0, 0.0});
  GeoTransform const raster = {corner.x, 0.25, 0.03, corner.y, -0.02, -0.25};
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain, raster);
  int seen = 0;
  for (double row = 0.5; row < 500.0; row += 60.0) {
    Positions pixels;
    for (int i = 0; i < 1200; ++i) {
      pixels.add((i * 7) % 1200 + 0.5, row);
    }
    Positions const image = transformed(transformer.argument(), toImage, pixels);
    for (std::size_t i = 0; i < pixels.size(); i += 5) {
      Positions alone;
      alone.add(pixels.x[i], row);
      alone = transformed(transformer.argument(), toImage, alone);
      ASSERT_EQ(image.success[i], alone.success[0]);
      seen += image.success[i];
      if (image.success[i] != 0) {
        ASSERT_NEAR(image.x[i], alone.x[0], 0.0005);
        ASSERT_NEAR(image.y[i], alone.y[0], 0.002);
      }
    }
  }
  EXPECT_GT(seen, 1000);
}

TEST(OrthoTransformer, RowsAreAsGoodAsTheirPositions) {
  expectRowsAsPositions(OrthoFlight(0.3));
}

// In the second place the date line runs through the strip.
TEST(OrthoTransformer, RowsOverTerrainInDegreesAreAsGoodAsTheirPositions) {
  constexpr double degree = 57.29577951308232;
  for (auto const& [longitude, utm] : {std::pair("-1.4", "EPSG:32617"), std::pair("3.14157", "EPSG:32660")}) {
    OrthoFlight flight({.direction = 0.3, .longitude = longitude, .system = utm});
    flight.relief.system = "EPSG:4326";
    flight.relief.geoTransform = {std::stod(longitude) * degree - 0.005, 5e-5, 0.0, 0.6 * degree + 0.005, 0.0, -6e-5};
    flight.openTerrain();
    expectRowsAsPositions(flight);
  }
}

TEST(OrthoTransformer, RowOfOnePlaceIsThatPlace) {
  OrthoFlight const flight;
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  geo::XYPoint const place = flight.mapOf({100.0, 20.0, 0.0});
  Positions same;
  for (int i = 0; i < 10; ++i) {
    same.add(place.x, place.y);
  }
  Positions const image = transformed(transformer.argument(), toImage, same);
  geo::XYPoint const expected = flight.image(*flight.ground(place));
  for (std::size_t i = 0; i < same.size(); ++i) {
    EXPECT_NEAR(image.x[i], expected.x + 0.5, 0.002);
    EXPECT_NEAR(image.y[i], expected.y + 0.5, 0.01);
  }
}

// To a hundredth of the ground sampling distance (2 m) in height, of which the slope of a line of sight makes less.
TEST(OrthoTransformer, PixelsGoToTheMapAndBack) {
  OrthoFlight const flight(0.4);
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions pixels;
  for (double line = 0.5; line < 300.0; line += 23.7) {
    for (double sample = 0.5; sample <= 100.5; sample += 12.5) {
      pixels.add(sample, line);
    }
  }
  Positions const map = transformed(transformer.argument(), toRaster, pixels);
  Positions const back = transformed(transformer.argument(), toImage, map);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    ASSERT_EQ(map.success[i], 1);
    EXPECT_NEAR(back.x[i], pixels.x[i], 0.01);
    EXPECT_NEAR(back.y[i], pixels.y[i], 0.01);
  }
}

// The height of the ground moves a position of the map sideways when the map's vertical is another one: here that of a
// local system whose anchor is half a degree, 46 km, away. 30 m of terrain come to 0.2 m.
TEST(OrthoTransformer, PositionsBelowAMapOfAnotherVerticalAreFound) {
  OrthoFlight const flight;
  auto const far = kes::CoordinateSystem::local({-1.4 + 0.5 / 57.29577951308232, 0.6, 500.0});
  OrthoTransformer const transformer(flight.band(0), far, *flight.terrain);
  for (double x = 10.0; x < 290.0; x += 20.0) {
    geo::XYZPoint const ground = *flight.ground(flight.mapOf({x, 0.3 * x - 40.0, 0.0}));
    std::vector<geo::XYZPoint> position{ground};
    flight.strip->localSystem().transform(far, position, position);
    Positions map;
    map.add(position[0].x, position[0].y);
    Positions const image = transformed(transformer.argument(), toImage, map);
    geo::XYPoint const expected = flight.image(ground);
    EXPECT_NEAR(image.x[0], expected.x + 0.5, 0.002);
    EXPECT_NEAR(image.y[0], expected.y + 0.5, 0.01);
  }
}

TEST(OrthoTransformer, PositionsWithoutAHeightFail) {
  OrthoFlight flight;
  flight.relief.noData = -32768.0;
  constexpr std::size_t column = 145;  // 80 m after the strip's beginning
  constexpr std::size_t row = 98;
  flight.relief.values[row * static_cast<std::size_t>(flight.relief.columns) + column] = -32768.0;
  flight.openTerrain();
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions map;
  map.add(flight.relief.x(column + 0.5), flight.relief.y(0.0, row + 0.5));
  map.add(flight.relief.x(column + 1.5), flight.relief.y(0.0, row + 0.5));
  map.add(flight.relief.x(-1.0), flight.relief.y(0.0, row + 0.5));
  map.add(std::nan(""), flight.relief.y(0.0, row + 0.5));
  map.add(HUGE_VAL, HUGE_VAL);
  Positions const image = transformed(transformer.argument(), toImage, map);
  EXPECT_EQ(image.success, (std::vector<int>{0, 1, 0, 0, 0}));
  EXPECT_EQ(image.x[0], HUGE_VAL);
  EXPECT_EQ(image.y[0], HUGE_VAL);
}

TEST(OrthoTransformer, PixelsWhoseRayMeetsNoSurfaceFail) {
  OrthoFlight flight;
  flight.relief.columns = 150;  // up to 100 m after the beginning
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions pixels;
  pixels.add(50.0, 50.0);
  pixels.add(50.0, 150.0);
  pixels.add(std::nan(""), 50.0);
  Positions const map = transformed(transformer.argument(), toRaster, pixels);
  EXPECT_EQ(map.success, (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(map.x[1], HUGE_VAL);
}

// Lines are 1 m long along the flight to the east; the image begins half a line before the centre of line 0.
TEST(OrthoTransformer, PositionsOutsideImageAndMarginFail) {
  OrthoFlight flight;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  for (double const margin : {0.0, 20.0}) {
    OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain, OrthoTransformer::MAP_ITSELF,
                                       margin);
    Positions map;
    for (double const beyond : {-0.2, 0.2}) {
      for (geo::XYZPoint const& local :
           {geo::XYZPoint(-0.5 - margin - beyond, 0.0, 0.0), geo::XYZPoint(299.5 + margin + beyond, 0.0, 0.0),
            geo::XYZPoint(150.0, 2.0 * (50.5 + margin + beyond), 0.0),
            geo::XYZPoint(150.0, -2.0 * (50.5 + margin + beyond), 0.0)}) {
        geo::XYPoint const position = flight.mapOf(local);
        map.add(position.x, position.y);
      }
    }
    EXPECT_EQ(transformed(transformer.argument(), toImage, map).success, (std::vector<int>{1, 1, 1, 1, 0, 0, 0, 0}));
  }
}

TEST(OrthoTransformer, FarAwayPositionsFailAtOnce) {
  OrthoFlight flight;
  flight.relief.geoTransform = {200000.0, 1000.0, 0.0, 4200000.0, 0.0, -1000.0};
  flight.relief.columns = 600;
  flight.relief.rows = 600;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions map;
  geo::XYPoint const origin = flight.mapOf({0.0, 0.0, 0.0});
  for (int i = 0; i < 100; ++i) {
    map.add(origin.x + 2000.0 * (i + 1), origin.y - 1500.0 * i);
  }
  EXPECT_EQ(transformed(transformer.argument(), toImage, map).success, std::vector<int>(100, 0));
}

TEST(OrthoTransformer, EightThreadsWithCopiesGiveTheSameBits) {
  OrthoFlight const flight(0.9);
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions const map = mapGrid(flight);
  Positions const expected = transformed(transformer.argument(), toImage, map);
  std::vector<char> same(8, 1);
  std::vector<std::thread> threads;
  threads.reserve(same.size());
  for (char& isSame : same) {
    threads.emplace_back([&] {
      OrthoTransformer const copy = transformer.copy();
      for (int round = 0; round < 5; ++round) {
        isSame = static_cast<char>(isSame != 0 && hasSameBits(transformed(copy.argument(), toImage, map), expected));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(same, std::vector<char>(8, 1));
}

TEST(OrthoTransformer, GdalCopiesScalesAndEndsIt) {
  OrthoFlight const flight;
  OrthoTransformer transformer(flight.band(0), flight.map, *flight.terrain);
  Positions const map = mapGrid(flight);
  Positions const expected = transformed(transformer.argument(), toImage, map);
  auto const& info = *static_cast<GDALTransformerInfo const*>(transformer.argument());
  EXPECT_EQ(std::memcmp(info.abySignature, GDAL_GTI2_SIGNATURE, 4), 0);
  void* const half = info.pfnCreateSimilar(transformer.argument(), 2.0, 4.0);
  ASSERT_NE(half, nullptr);
  Positions const scaled = transformed(half, toImage, map);
  Positions const back = transformed(half, toRaster, scaled);
  for (std::size_t i = 0; i < map.size(); ++i) {
    EXPECT_EQ(scaled.x[i], expected.x[i] / 2.0);
    EXPECT_EQ(scaled.y[i], expected.y[i] / 4.0);
    EXPECT_NEAR(back.x[i], map.x[i], 0.1);
    EXPECT_NEAR(back.y[i], map.y[i], 0.1);
  }
  GDALDestroyTransformer(half);
  void* const released = transformer.release();
  EXPECT_EQ(transformer.argument(), nullptr);
  Positions direct = map;
  EXPECT_EQ(GDALUseTransformer(released, toImage, direct.count(), direct.x.data(), direct.y.data(), direct.z.data(),
                               direct.success.data()),
            1);
  EXPECT_TRUE(hasSameBits(direct, expected));
  GDALDestroyTransformer(released);
}

TEST(OrthoTransformer, IsMoved) {
  OrthoFlight const flight;
  OrthoTransformer a(flight.band(0), flight.map, *flight.terrain);
  void* const argument = a.argument();
  OrthoTransformer b(std::move(a));
  EXPECT_EQ(b.argument(), argument);
  OrthoTransformer c(flight.band(1), flight.map, *flight.terrain);
  c = std::move(b);
  EXPECT_EQ(c.argument(), argument);
}

TEST(OrthoTransformer, SurfaceThatCantBeReadIsReportedAfterwards) {
  OrthoFlight const flight;
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  OrthoTransformer const copy = transformer.copy();
  flight.cutTerrain();
  Positions const image = transformed(copy.argument(), toImage, mapGrid(flight));
  EXPECT_EQ(image.success, std::vector<int>(image.size(), 0));
  EXPECT_THAT(test::messageOf([&] { transformer.rethrowFailure(); }),
              testing::StartsWith("Can't read elevation model \"" + flight.terrain->fileName() + "\": "));
}

TEST(OrthoTransformer, HealthySurfaceReportsNothing) {
  OrthoFlight const flight;
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  transformed(transformer.argument(), toImage, mapGrid(flight));
  EXPECT_NO_THROW(transformer.rethrowFailure());
}

// Line -256 has its centre at row -255.5.
TEST(OrthoTransformer, LinesOfSightAreKnownUpToTheMarginOfTheFrontDoor) {
  OrthoFlight const flight;
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions pixels;
  pixels.add(50.5, 0.5 - kes::Band::lineMargin);
  pixels.add(50.5, 0.4 - kes::Band::lineMargin);
  Positions const map = transformed(transformer.argument(), toRaster, pixels);
  EXPECT_EQ(map.success, (std::vector<int>{1, 0}));
  EXPECT_NEAR(map.x[0], flight.mapOf({-256.0, 0.0, 0.0}).x, 1.0);
  EXPECT_EQ(map.x[1], HUGE_VAL);
}

TEST(OrthoTransformer, RasterWithoutAnAreaIsRefused) {
  OrthoFlight const flight;
  EXPECT_MESSAGE(OrthoTransformer(flight.band(0), flight.map, *flight.terrain, GeoTransform{0, 1, 2, 0, 2, 4}),
                 "Can't orthorectify: the raster's geotransform can't be inverted");
}

TEST(OrthoTransformer, OutlivesItsStripAndSurface) {
  OrthoFlight flight;
  Positions const map = mapGrid(flight);
  OrthoTransformer const transformer(flight.band(0), flight.map, *flight.terrain);
  Positions const expected = transformed(transformer.argument(), toImage, map);
  flight.strip.reset();
  flight.terrain.reset();
  EXPECT_TRUE(hasSameBits(transformed(transformer.argument(), toImage, map), expected));
}

}  // namespace
