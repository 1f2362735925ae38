// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "SurfaceHit.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using kes::Status;
using test::SurfaceHit;

TEST_F(SurfaceHit, RaysOntoRoughGroundEndAtTheFirstPlaceOnIt) {
  mRaster.fill([&](int column, int row) {
    return groundHeight() + 40.0 + 30.0 * std::sin(0.9 * column) * std::cos(0.7 * row) +
           (column % 11 == 0 ? 60.0 : 0.0);
  });
  kes::Surface const surface = this->surface();
  int met = 0;
  for (char const* const band : {"PANF27A", "PANN00A"}) {
    for (double sample = 20.0; sample <= 80.0; sample += 7.3) {
      for (double line = 5.0; line <= 95.0; line += 10.7) {
        SCOPED_TRACE(testing::Message() << band << ", sample " << sample << ", line " << line);
        geo::XYPoint const image(sample, line);
        auto const [position, status] = hit(band, image, surface);
        ASSERT_EQ(status, Status::ok);
        EXPECT_LT(std::fabs(above(position, surface)), 1e-3);
        geo::XYZPoint local;
        mMap.transform(mStrip->localSystem(), {&position, 1}, {&local, 1});
        // The walk sees it after the first step below.
        double const walked = firstByWalking(band, image, surface);
        EXPECT_NEAR(local.z, walked + 0.025, 0.03);
        ++met;
      }
    }
  }
  EXPECT_GT(met, 100);
}

TEST_F(SurfaceHit, VerticalWallIsMetWhereTheRayComesThrough) {
  // From one cell to the next, 290 m ahead of the origin, the ground rises by 200 m; line 50 looks there.
  double const level = groundHeight() + 10.0;
  mRaster.fill([&](int column, int) { return column >= 102 ? level + 200.0 : level; });
  kes::Surface const surface = this->surface();
  bool metWall = false;
  for (double line = 0.0; line <= 100.0; line += 0.5) {
    auto const [position, status] = hit("PANF27A", {50.0, line}, surface);
    ASSERT_EQ(status, Status::ok);
    ASSERT_LT(std::fabs(above(position, surface)), 1e-3) << line;
    metWall = metWall || (position.z > level + 1.0 && position.z < level + 199.0);
  }
  EXPECT_TRUE(metWall);
}

TEST_F(SurfaceHit, RidgeOfOneCellIsNotPassedThrough) {
  double const level = groundHeight() + 10.0;
  mRaster.fill([&](int column, int) { return column == 102 ? level + 150.0 : level; });
  kes::Surface const surface = this->surface();
  int onRidge = 0;
  for (double line = 0.0; line <= 100.0; line += 0.25) {
    geo::XYPoint const image(50.0, line);
    auto const [position, status] = hit("PANF27A", image, surface);
    ASSERT_EQ(status, Status::ok);
    ASSERT_LT(std::fabs(above(position, surface)), 1e-3) << line;
    onRidge += position.z > level + 1.0 ? 1 : 0;
  }
  // The ray goes ahead by 0.24 m a metre of depth: over 150 m of ridge, by 36 m, or 36 lines; and over its foot of 8 m.
  EXPECT_NEAR(onRidge * 0.25, 150.0 * 0.24, 8.0);
}

TEST_F(SurfaceHit, HolesAndTheWorldBeyondTheRasterHaveNoSurface) {
  mRaster.noData = -9999.0;
  mRaster.fill([&](int column, int row) {
    return column >= 50 && column < 60 && row >= 40 && row < 80 ? -9999.0 : groundHeight() + 10.0;
  });
  kes::Surface const surface = this->surface();
  // Cells 50 to 59 are x = 80 to 120 m ahead of the origin; straight down.
  EXPECT_EQ(hit("PANN00A", {50.0, 99.0}, surface).status, Status::noSurface);
  EXPECT_EQ(hit("PANN00A", {50.0, 40.0}, surface).status, Status::ok);
  EXPECT_EQ(hit("PANN00A", {-300.0, 40.0}, surface).status, Status::noSurface);
  EXPECT_TRUE(std::isnan(hit("PANN00A", {50.0, 99.0}, surface).position.x));
}

// A pit of 100 km makes the path of each ray as long, so that three places on it are far from all of it.
TEST_F(SurfaceHit, LongPathsEndOnTheSurface) {
  mRaster.type = GDT_Float32;
  mRaster.fill([&](int column, int row) {
    return column == 119 && row == 119 ? -1e5 : groundHeight() + 10.0 * std::sin(0.3 * column + 0.2 * row);
  });
  kes::Surface const surface = this->surface();
  auto const image = test::imagePoints(mStrip->band("PANF27A"), 5, 100);
  kes::ToGroundOptions options;
  options.heights = surface;
  options.system = mMap;
  auto const together = test::toGround(mStrip->band("PANF27A"), image, options);
  for (std::size_t i = 0; i < image.size(); ++i) {
    ASSERT_EQ(together.status[i], Status::ok);
    ASSERT_LT(std::fabs(above(together.points[i], surface)), 1e-3) << i;
    ASSERT_LT(std::fabs(above(hit("PANF27A", image[i], surface).position, surface)), 1e-3) << i;
  }
}

// A pit of 10 km leaves paths some micrometres beside their lines: enough to see one end above a brink that it passes.
TEST_F(SurfaceHit, RaysPastABrinkEndBelowIt) {
  constexpr double DROP = 50.0;
  double const level = groundHeight() + 10.0;
  kes::ToGroundOptions atLevel = test::atHeight(level);
  atLevel.system = mMap;
  geo::XYPoint const image(50.0, 50.0);
  double const x = mStrip->band("PANF27A").toGround(image, atLevel).position.x;
  mRaster.geoTransform[1] = 1.0;
  mRaster.type = GDT_Float32;
  mRaster.fill([&](int column, int row) {
    return column == 119 && row == 119 ? -1e4 : column <= 60 ? level : level - DROP;
  });
  int onTop = 0;
  for (int i = -60; i <= 60; ++i) {
    // Beyond the centre of cell 60, the ground falls by 50 m within one.
    mRaster.geoTransform[0] = x + 1e-6 * i - 60.5;
    kes::Surface const surface = this->surface();
    std::vector<geo::XYPoint> const twice{image, image};
    kes::ToGroundOptions options;
    options.heights = surface;
    options.system = mMap;
    auto const together = test::toGround(mStrip->band("PANF27A"), twice, options);
    auto const alone = hit("PANF27A", image, surface);
    ASSERT_LT(std::fabs(above(together.points[0], surface)), 1e-4) << i;
    ASSERT_LT(std::fabs(above(alone.position, surface)), 1e-4) << i;
    onTop += alone.position.z > level - 1e-4 ? 1 : 0;
  }
  EXPECT_GT(onTop, 40);
  EXPECT_LT(onTop, 110);
}

TEST_F(SurfaceHit, SurfaceAboveTheCameraIsNotMet) {
  mRaster.fill([&](int, int) { return groundHeight() + 2000.0; });
  EXPECT_EQ(hit("PANN00A", {50.0, 40.0}, surface()).status, Status::noSurface);
  EXPECT_EQ(hit("PANN00A", {50.0, 40.0}, kes::Surface::constant(mMap, groundHeight() + 2000.0)).status,
            Status::noSurface);
}

TEST_F(SurfaceHit, ConstantSurfaceIsAHeight) {
  kes::Surface const surface = kes::Surface::constant(mMap, groundHeight() + 12.5);
  kes::ToGroundOptions atHeight = test::atHeight(groundHeight() + 12.5);
  atHeight.system = mMap;
  auto const met = hit("PANF27A", {12.0, 34.0}, surface);
  auto const cut = mStrip->band("PANF27A").toGround(geo::XYPoint(12.0, 34.0), atHeight);
  EXPECT_NEAR(met.position.x, cut.position.x, 1e-5);
  EXPECT_NEAR(met.position.y, cut.position.y, 1e-5);
  EXPECT_NEAR(met.position.z, cut.position.z, 1e-5);
}

TEST_F(SurfaceHit, NeighboursAndThreadsChangeNoBit) {
  mRaster.fill([&](int column, int row) { return groundHeight() + 20.0 * std::sin(0.3 * column + 0.2 * row); });
  kes::Surface const surface = this->surface();
  kes::Band const band = mStrip->band("PANF27A");
  auto const image = test::imagePoints(band, 5, 5000);
  kes::ToGroundOptions options;
  options.heights = surface;
  auto const whole = test::toGround(band, image, options);
  options.threads = 3;
  auto const parallel = test::toGround(band, image, options);
  options.threads = 1;
  for (std::size_t i = 0; i < image.size(); i += 7) {
    auto const single = band.toGround(image[i], options);
    ASSERT_THAT(single.position.x, test::SameBits(whole.points[i].x));
    ASSERT_THAT(single.position.z, test::SameBits(whole.points[i].z));
    ASSERT_THAT(parallel.points[i].z, test::SameBits(whole.points[i].z));
    ASSERT_EQ(single.status, whole.status[i]);
  }
}

TEST_F(SurfaceHit, MapPositionsArePutOnTheSurface) {
  mRaster.fill([&](int column, int row) { return groundHeight() + 0.5 * column + 0.25 * row; });
  kes::Surface const surface = this->surface();
  kes::Band const band = mStrip->band("PANF27A");
  auto const [ground, status] = hit("PANF27A", {40.0, 60.0}, surface);
  ASSERT_EQ(status, Status::ok);
  kes::ToImageOptions options;
  options.system = mMap;
  options.heights = surface;
  // Whatever its z is.
  auto const image = band.toImage(geo::XYZPoint(ground.x, ground.y, -1e5), options);
  EXPECT_EQ(image.status, Status::ok);
  EXPECT_NEAR(image.position.x, 40.0, 1e-3);
  EXPECT_NEAR(image.position.y, 60.0, 1e-3);
  EXPECT_EQ(band.toImage(geo::XYZPoint(ground.x - 5000.0, ground.y, 0.0), options).status, Status::noSurface);
}

TEST_F(SurfaceHit, HeightsHaveAStatusEach) {
  mRaster.fill([&](int column, int) { return 100.0 + column; });
  kes::Surface const surface = this->surface();
  EXPECT_EQ(surface.coordinateSystem().horizontalUnit(), mMap.horizontalUnit());
  EXPECT_EQ(surface.heightRange()->lowest, 100.0);
  EXPECT_EQ(surface.heightRange()->highest, 219.0);
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<geo::XYZPoint> const positions{mRaster.at(10.5, 3.0), {0.0, 0.0, 0.0}, {nan, 0.0, 0.0}};
  std::vector<double> heights(3);
  std::vector<Status> status(3);
  EXPECT_EQ(surface.heights(positions, heights, status), 1U);
  EXPECT_EQ(heights[0], 110.0);
  EXPECT_TRUE(std::isnan(heights[1]));
  EXPECT_EQ(status, (std::vector{Status::ok, Status::noSurface, Status::notFinite}));
}

TEST(Surface, KnowsItsFile) {
  EXPECT_EQ(kes::Surface::raster(KESSENSOR_TERRAIN).fileName(), KESSENSOR_TERRAIN);
  EXPECT_EQ(kes::Surface::constant(kes::CoordinateSystem::wgs84Degrees(), 5.0).fileName(), "");
}

// The least cache holds one tile; heights are the same.
TEST(Surface, SmallCacheChangesNoHeight) {
  auto const usual = kes::Surface::raster(KESSENSOR_TERRAIN);
  auto const small = kes::Surface::raster(KESSENSOR_TERRAIN, 0);
  auto const& usualSource = dynamic_cast<dsm::RasterElevationSource const&>(usual.platform());
  auto const bounds = usualSource.bounds();
  for (double const part : {0.1, 0.5, 0.9}) {
    std::vector<geo::XYZPoint> const place{{bounds.minimum.x + part * (bounds.maximum.x - bounds.minimum.x),
                                            bounds.minimum.y + part * (bounds.maximum.y - bounds.minimum.y), 0.0}};
    std::vector<double> a(1);
    std::vector<double> b(1);
    EXPECT_EQ(usual.heights(place, a), 1U);
    EXPECT_EQ(small.heights(place, b), 1U);
    EXPECT_EQ(a, b);
  }
}

TEST(Surface, MissingFileIsThePlatformsError) {
  EXPECT_MESSAGE(static_cast<void>(kes::Surface::raster("/nowhere/dem.tif")),
                 test::messageOf([] { dsm::RasterElevationSource("/nowhere/dem.tif"); }));
}

}  // namespace
