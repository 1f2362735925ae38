// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "support/Matchers.h"

#include <dsm/ConstantElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/KESStripModel.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using kes::Solver;
using kes::Status;

// To the bit what the library's own operations return, in the local system, on a map and on a surface.
TEST(LibraryForms, GiveTheBitsOfTheLibrary) {
  for (unsigned const seed : {4U, 9U}) {
    kes::Strip const& strip = test::randomStrip(seed);
    sensor::KESStripModel model(strip.fileName(), true, false, false);
    for (char const* const id : test::BANDS) {
      SCOPED_TRACE(id);
      kes::Band const band = strip.band(id);
      auto const image = test::imagePoints(band, seed, 41);
      auto const ground = test::toGround(band, image, test::atHeight(12.5, Solver::libraryPoint));
      for (std::size_t i = 0; i < image.size(); ++i) {
        geo::XYZPoint expected;
        model.imageToLsr(image[i], 12.5F, band.index(), expected);
        ASSERT_THAT(ground.points[i].x, test::SameBits(expected.x));
        ASSERT_THAT(ground.points[i].y, test::SameBits(expected.y));
      }
      auto const point = test::toImage(band, ground.points, test::by(Solver::libraryPoint));
      auto const run = test::toImage(band, ground.points, test::by(Solver::libraryRun));
      auto const lanes = test::toImage(band, ground.points, test::by(Solver::libraryLanes));
      std::vector<geo::XYPoint> expectedRun(41);
      model.lsrToImage(ground.points, band.index(), expectedRun);
      std::vector<geo::XYZPoint> padded = ground.points;
      padded.resize(44, padded.back());
      std::vector<geo::XYPoint> expectedLanes(44);
      model.lsrToImageSSE(padded, band.index(), expectedLanes);
      for (std::size_t i = 0; i < image.size(); ++i) {
        geo::XYPoint expected;
        model.lsrToImage(ground.points[i], band.index(), expected);
        ASSERT_THAT(point.points[i].x, test::SameBits(expected.x));
        ASSERT_THAT(point.points[i].y, test::SameBits(expected.y));
        ASSERT_THAT(run.points[i].x, test::SameBits(expectedRun[i].x));
        ASSERT_THAT(run.points[i].y, test::SameBits(expectedRun[i].y));
        ASSERT_THAT(lanes.points[i].x, test::SameBits(expectedLanes[i].x));
        ASSERT_THAT(lanes.points[i].y, test::SameBits(expectedLanes[i].y));
      }
    }
  }
}

TEST(LibraryForms, StateThePassesOfSinglePointsOnly) {
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("REDF16A");
  auto ground = test::toGround(band, test::imagePoints(band, 4, 9), test::atHeight(12.5)).points;
  ground[3].x = std::numeric_limits<double>::quiet_NaN();
  std::vector<int> passes(9, -1);
  kes::ToImageOptions options = test::by(Solver::libraryPoint);
  options.outputs.passes = passes;
  auto const counted = test::toImage(band, ground, options);
  auto const plain = test::toImage(band, ground, test::by(Solver::libraryPoint));
  for (std::size_t const i : {0U, 1U, 2U, 4U, 5U, 6U, 7U, 8U}) {
    geo::XYPoint expected;
    EXPECT_EQ(passes[i], sensor::solveImage(strip.model(), ground[i], band.index(), expected)) << i;
    EXPECT_GE(passes[i], 2) << i;
    EXPECT_THAT(counted.points[i].y, test::SameBits(plain.points[i].y)) << i;
  }
  EXPECT_EQ(passes[3], 0);
  for (Solver const solver : {Solver::libraryRun, Solver::libraryLanes}) {
    options.solver = solver;
    test::toImage(band, ground, options);
    EXPECT_EQ(passes, std::vector<int>(9, 0));
  }
}

// The bits depend on the number of passes, and so on the tolerance of a height, which is in the system's vertical unit.
class LibraryFormsOnAMap : public testing::TestWithParam<std::pair<std::string, float>> {};

TEST_P(LibraryFormsOnAMap, GiveTheBitsOfTheLibrary) {
  auto const& [definition, mapHeight] = GetParam();
  kes::Strip const& strip = test::randomStrip(4);
  sensor::KESStripModel model(strip.fileName(), true, false, false);
  kes::CoordinateSystem const map(definition);
  std::unique_ptr<geo::coordSys> const system(geo::coordSysFactory::getInstance()->createCoordSys(definition));
  model.setMappingSystem(system.get());
  dsm::ConstantElevationSource surface(system.get(), mapHeight);
  kes::Band const band = strip.band("PANN00A");
  kes::ToGroundOptions options = test::atHeight(static_cast<double>(mapHeight), Solver::libraryPoint);
  options.system = map;
  kes::ToGroundOptions onSurface = options;
  onSurface.heights = kes::Surface::constant(map, static_cast<double>(mapHeight));
  for (geo::XYPoint const& image : test::imagePoints(band, 1, 20)) {
    geo::XYZPoint expected;
    model.imageToMap(image, mapHeight, band.index(), expected);
    auto const ground = band.toGround(image, options);
    EXPECT_THAT(ground.position.x, test::SameBits(expected.x));
    EXPECT_THAT(ground.position.y, test::SameBits(expected.y));
    EXPECT_THAT(ground.position.z, test::SameBits(expected.z));
    auto height = static_cast<float>(model.meanTerrainHeight());
    model.imageToMap(image, band.index(), expected, &surface, height, 0.01F);
    auto const met = band.toGround(image, onSurface);
    EXPECT_THAT(met.position.x, test::SameBits(expected.x));
    EXPECT_THAT(met.position.z, test::SameBits(expected.z));
  }
}

INSTANTIATE_TEST_SUITE_P(Units, LibraryFormsOnAMap,
                         testing::Values(std::pair("EPSG:32614", 310.0F),
                                         std::pair("+proj=utm +zone=14 +datum=WGS84 +vto_meter=100 +type=crs", 3.0F)));

TEST(LibraryForms, GivenStagesOfTdiGiveTheBitsOfTheLibrary) {
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("PANN00A");
  kes::ToGroundOptions options = test::atHeight(5.0, Solver::libraryPoint);
  options.tdiStages = 4.0F;
  geo::XYPoint const image(33.3, 77.7);
  geo::XYZPoint expected;
  strip.model().imageToLsr(image, 5.0F, band.index(), 4.0F, expected);
  EXPECT_THAT(band.toGround(image, options).position.x, test::SameBits(expected.x));
  options.solver = Solver::precise;
  EXPECT_NEAR(band.toGround(image, options).position.x, expected.x, 0.02 * band.gsd());
  EXPECT_NEAR(band.toGround(image, options).position.y, expected.y, 0.02 * band.gsd());
}

// What is found lies on the line of sight that the library has with so many stages.
TEST(LibraryForms, GivenStagesOfTdiHoldOnAMapAndASurface) {
  constexpr double tolerance = 1e-5;  // metres; coordinates of the map and back
  constexpr float stages = 64.0F;
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("NIRF16A");
  kes::CoordinateSystem const map("EPSG:32614");
  kes::ToGroundOptions atHeight = test::atHeight(310.0, Solver::libraryPoint);
  atHeight.system = map;
  kes::ToGroundOptions onSurface = atHeight;
  onSurface.heights = kes::Surface::constant(map, 310.0);
  for (kes::ToGroundOptions options : {atHeight, onSurface}) {
    for (geo::XYPoint const& image : test::imagePoints(band, 1, 20)) {
      options.tdiStages.reset();
      geo::XYZPoint const own = band.toGround(image, options).position;
      options.tdiStages = stages;
      geo::XYZPoint const ground = band.toGround(image, options).position;
      EXPECT_GT(std::hypot(ground.x - own.x, ground.y - own.y), 100.0 * tolerance);
      std::vector<geo::XYZPoint> local(1);
      map.transform(strip.localSystem(), std::vector{ground}, local);
      geo::XYZPoint expected;
      strip.model().imageToLsr(image, static_cast<float>(local[0].z), band.index(), stages, expected);
      EXPECT_NEAR(local[0].x, expected.x, tolerance);
      EXPECT_NEAR(local[0].y, expected.y, tolerance);
    }
  }
}

TEST(CoordinateSystem, IsAValueWithUnitsAndEquality) {
  kes::CoordinateSystem const utm("EPSG:32633");
  kes::CoordinateSystem const copy = utm;
  EXPECT_EQ(utm, copy);
  EXPECT_EQ(utm, kes::CoordinateSystem("EPSG:32633"));
  EXPECT_NE(utm, kes::CoordinateSystem("EPSG:32632"));
  EXPECT_NE(kes::CoordinateSystem::wgs84Degrees(), kes::CoordinateSystem::wgs84Radians());
  EXPECT_EQ(utm.horizontalUnit(), (kes::Unit{"metre", 1.0}));
  EXPECT_EQ(kes::CoordinateSystem(kes::CoordinateSystem::local({0.1, 0.8, 30.0}).definition()),
            kes::CoordinateSystem::local({0.1, 0.8, 30.0}));
  EXPECT_EQ(test::messageOf<std::invalid_argument>([] { static_cast<void>(kes::CoordinateSystem::of(nullptr)); }),
            "a coordinate system is missing");
}

TEST(CoordinateSystem, EachPointGetsAStatus) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<geo::XYZPoint> points{{15.0, 48.0, 100.0}, {nan, 48.0, 0.0}, {15.0, 99.0, 0.0}, {15.0, 48.0, 100.0}};
  std::vector<Status> status(4);
  std::size_t const done =
      kes::CoordinateSystem::wgs84Degrees().transform(kes::CoordinateSystem("EPSG:32633"), points, points, status);
  EXPECT_EQ(done, 2U);
  EXPECT_EQ(status, (std::vector{Status::ok, Status::notFinite, Status::notTransformable, Status::ok}));
  // The central meridian.
  EXPECT_NEAR(points[0].x, 500000.0, 1e-6);
  EXPECT_TRUE(std::isnan(points[2].y));
  EXPECT_THAT(points[3].y, test::SameBits(points[0].y));
  std::vector<Status> few(3);
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] {
              kes::CoordinateSystem::wgs84Degrees().transform(kes::CoordinateSystem::wgs84Radians(), points, points,
                                                              few);
            }),
            "spans differ in size");
}

TEST(Projection, HeightOfAMapIsMetToAMicrometre) {
  kes::Strip const& strip = test::randomStrip(6);
  kes::Band const band = strip.band("NIRF16A");
  kes::CoordinateSystem const map("EPSG:32614");
  auto const image = test::imagePoints(band, 3, 30);
  kes::ToGroundOptions options = test::atHeight(275.25);
  options.system = map;
  auto const ground = test::toGround(band, image, options);
  kes::ToImageOptions back;
  back.system = map;
  auto const again = test::toImage(band, ground.points, back);
  std::vector<geo::XYZPoint> local(image.size());
  map.transform(strip.localSystem(), ground.points, local);
  for (std::size_t i = 0; i < image.size(); ++i) {
    EXPECT_EQ(ground.points[i].z, 275.25);
    // A micrometre of height and what a map's coordinates keep are some 1e-5 pixels.
    EXPECT_NEAR(again.points[i].x, image[i].x, 2e-5);
    EXPECT_NEAR(again.points[i].y, image[i].y, 2e-5);
    EXPECT_NEAR(band.toGround(image[i], test::atHeight(local[i].z)).position.x, local[i].x, 1e-5);
  }
}

TEST(Projection, HeightsPerPointAndOutputsAreThoseOfEachPoint) {
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("PANN00A");
  auto const image = test::imagePoints(band, 3, 5);
  std::vector<double> heights{0.0, 10.0, std::numeric_limits<double>::quiet_NaN(), -20.0, 5.0};
  std::vector<double> time(5);
  std::vector<int> passes(5);
  std::vector<kes::Closure> closure(5);
  kes::ToGroundOptions options;
  options.heights = kes::HeightPerPoint{heights};
  options.outputs = {time, passes, closure};
  auto const ground = test::toGround(band, image, options);
  EXPECT_EQ(ground.status[2], Status::notFinite);
  EXPECT_TRUE(std::isnan(time[2]));
  for (std::size_t const i : {0U, 1U, 3U, 4U}) {
    EXPECT_EQ(ground.points[i].z, heights[i]);
    // The library rounds the line to a float.
    EXPECT_NEAR(time[i], strip.model().gpsTime(image[i], 0).value(), 1e-6);
    EXPECT_EQ(passes[i], 1);
    EXPECT_LT(closure[i].pixels, 1e-6);
    EXPECT_LT(closure[i].metres, 1e-6);
  }
  kes::ToImageOptions back;
  back.outputs = {time, passes, closure};
  ASSERT_EQ(test::toImage(
                band, {ground.points[0], ground.points[0], ground.points[2], ground.points[3], ground.points[4]}, back)
                .status[2],
            Status::notFinite);
  EXPECT_GE(passes[0], 3);
  EXPECT_LT(closure[0].metres, 1e-6);
  EXPECT_NEAR(time[0], strip.model().gpsTime(image[0], 0).value(), 1e-6);
}

TEST(Projection, ClosureIsThatOfTheStagesOfTheCall) {
  for (char const* const id : test::BANDS) {
    kes::Band const band = test::randomStrip(4).band(id);
    auto const image = test::imagePoints(band, 8, 30);
    for (float const stages : {1.0F, 2.5F, 64.0F}) {
      for (auto const& [solver, tolerance] : {std::pair{Solver::precise, 1e-6}, {Solver::libraryPoint, 0.1}}) {
        SCOPED_TRACE(testing::Message() << id << ", " << stages << " stages, tolerance " << tolerance);
        std::vector<kes::Closure> closure(image.size());
        kes::ToGroundOptions options = test::atHeight(20.0, solver);
        options.tdiStages = stages;
        options.outputs.closure = closure;
        auto const ground = test::toGround(band, image, options);
        for (std::size_t i = 0; i < image.size(); ++i) {
          ASSERT_TRUE(kes::hasResult(ground.status[i]));
          ASSERT_LT(closure[i].pixels, tolerance) << "sample " << image[i].x << ", line " << image[i].y;
          ASSERT_LT(closure[i].metres, tolerance * band.gsd()) << "sample " << image[i].x << ", line " << image[i].y;
        }
      }
    }
  }
}

TEST(Rays, LeadFromTheCentreToTheGroundAtItsTime) {
  for (char const* const id : test::BANDS) {
    kes::Band const band = test::randomStrip(4).band(id);
    auto const image = test::imagePoints(band, 5, 100);
    std::vector<double> time(image.size());
    kes::ToGroundOptions options = test::atHeight(-30.0);
    options.outputs.time = time;
    auto const ground = test::toGround(band, image, options);
    std::vector<kes::Ray> rays(image.size());
    std::vector<Status> status(image.size());
    EXPECT_EQ(band.rays(image, rays, status), image.size());
    for (std::size_t i = 0; i < image.size(); ++i) {
      auto const& [centre, direction, rayTime] = rays[i];
      double const distance = (-30.0 - centre.z) / direction.z;
      ASSERT_NEAR(std::hypot(direction.x, direction.y, direction.z), 1.0, 1e-15);
      ASSERT_NEAR(centre.x + distance * direction.x, ground.points[i].x, 1e-8);
      ASSERT_NEAR(centre.y + distance * direction.y, ground.points[i].y, 1e-8);
      ASSERT_EQ(rayTime, time[i]);
      ASSERT_EQ(status[i], ground.status[i]);
    }
  }
}

TEST(Rays, AreTheSameInAnyNumberOfThreads) {
  kes::Band const band = test::randomStrip(4).band("REDF16A");
  auto const image = test::imagePoints(band, 6, 5000);
  std::vector<kes::Ray> one(image.size());
  std::vector<kes::Ray> three(image.size());
  std::vector<Status> status(image.size());
  band.rays(image, one, status);
  band.rays(image, three, status, 3);
  EXPECT_EQ(std::memcmp(one.data(), three.data(), one.size() * sizeof(kes::Ray)), 0);
}

TEST(Rays, BadPositionsHaveNone) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  double const beyond = band.lines() + kes::Band::lineMargin;
  std::vector<geo::XYPoint> const image{
      {0.0, std::numeric_limits<double>::infinity()}, {0.0, beyond}, {0.0, -1.0}, {0.0, 1.0}};
  std::vector<kes::Ray> rays(4);
  std::vector<Status> status(4);
  EXPECT_EQ(band.rays(image, rays, status), 2U);
  EXPECT_EQ(status, (std::vector{Status::notFinite, Status::noSolution, Status::outsideImage, Status::ok}));
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_TRUE(std::isnan(rays[i].centre.x) && std::isnan(rays[i].direction.z) && std::isnan(rays[i].time));
  }
  rays.pop_back();
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { band.rays(image, rays, status); }), "spans differ in size");
}

TEST(Projection, SpansOfOtherSizesAreRefused) {
  kes::Band const band = test::randomStrip(4).band(0);
  std::vector<geo::XYPoint> image(3);
  std::vector<geo::XYZPoint> ground(3);
  std::vector<Status> status(2);
  std::vector<double> two(2);
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { band.toGround(image, {}, ground, status); }),
            "spans differ in size");
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { band.toImage(ground, {}, image, status); }),
            "spans differ in size");
  status.resize(3);
  kes::ToGroundOptions options;
  options.heights = kes::HeightPerPoint{two};
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { band.toGround(image, options, ground, status); }),
            "spans differ in size");
  kes::ToImageOptions back;
  back.outputs.time = two;
  EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { band.toImage(ground, back, image, status); }),
            "spans differ in size");
}

TEST(Status, HasNames) {
  EXPECT_EQ(sizeof(Status), 1U);
  EXPECT_EQ(kes::toString(Status::ok), "ok");
  EXPECT_EQ(kes::toString(Status::outsideImage), "outsideImage");
  EXPECT_EQ(kes::toString(Status::notFinite), "notFinite");
  EXPECT_TRUE(kes::hasResult(Status::outsideOrientation));
  EXPECT_FALSE(kes::hasResult(Status::noSurface));
}

// A position at a height of another system lies on the line of sight of its pixel: there the local system's projection
// at the position's own local height, which PROJ converts exactly, must lead.
TEST(Precise, PositionsAtAHeightOfAnotherSystemLieOnTheLineOfSight) {
  constexpr double height = 250.0;
  constexpr double bound = 1e-4 + 2.0 * 6.4e-6;  // metres: of the conversion, in height at 45 degrees, and across
  for (char const* const definition : {"EPSG:32614", "EPSG:4979", "EPSG:2278"}) {
    for (unsigned const seed : {2U, 11U}) {
      SCOPED_TRACE(definition + std::string(", seed ") + std::to_string(seed));
      kes::Band const band = test::randomStrip(seed).band("PANB14A");
      auto const image = test::imagePoints(band, seed, 300);
      kes::ToGroundOptions options = test::atHeight(height);
      options.system = kes::CoordinateSystem(definition);
      auto const there = test::toGround(band, image, options);
      std::vector<geo::XYZPoint> local(there.points.size());
      options.system->transform(test::randomStrip(seed).localSystem(), there.points, local);
      std::vector<double> heights;
      for (geo::XYZPoint const& p : local) {
        heights.push_back(p.z);
      }
      kes::ToGroundOptions inLocal;
      inLocal.heights = kes::HeightPerPoint{heights};
      auto const onRay = test::toGround(band, image, inLocal);
      for (std::size_t i = 0; i < image.size(); ++i) {
        ASSERT_EQ(there.points[i].z, height);
        ASSERT_NEAR(local[i].x, onRay.points[i].x, bound);
        ASSERT_NEAR(local[i].y, onRay.points[i].y, bound);
      }
    }
  }
}

}  // namespace
