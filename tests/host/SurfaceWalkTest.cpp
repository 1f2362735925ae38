// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfaceHit.h"
#include "support/Matchers.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

// On elevation models of many tiles, with all that ends a walk over them early.

namespace {

using kes::Status;
using test::SurfaceHit;

class SurfaceWalk : public SurfaceHit {
protected:
  // Cells of 1 m in 5 by 4 tiles, whose middle is the ground of the image of the band that looks ahead.
  SurfaceWalk() {
    mRaster.columns = 600;
    mRaster.rows = 480;
    mRaster.geoTransform = {mOrigin.x - 10.0, 1.0, 0.0, mOrigin.y + 240.0, 0.0, -1.0};
  }

  double rough(int column, int row) const {
    return groundHeight() + 30.0 + 15.0 * std::sin(0.31 * column) * std::cos(0.23 * row) + 8.0 * std::sin(0.02 * row) +
           (column % 37 == 0 ? 25.0 : 0.0);
  }

  std::vector<geo::XYPoint> imagePoints(std::size_t count) const {
    return test::imagePoints(mStrip->band("PANF27A"), 3, count);
  }

  test::GroundResult hits(kes::Surface const& surface, std::size_t count, int threads = 1) const {
    kes::ToGroundOptions options;
    options.heights = surface;
    options.system = mMap;
    options.threads = threads;
    return test::toGround(mStrip->band("PANF27A"), imagePoints(count), options);
  }

  static void expectSame(test::GroundResult const& a, test::GroundResult const& b) {
    ASSERT_EQ(a.status, b.status);
    for (std::size_t i = 0; i < a.points.size(); ++i) {
      ASSERT_THAT(a.points[i].x, test::SameBits(b.points[i].x));
      ASSERT_THAT(a.points[i].y, test::SameBits(b.points[i].y));
      ASSERT_THAT(a.points[i].z, test::SameBits(b.points[i].z));
    }
  }

  void expectFirstByWalking(kes::Surface const& surface, std::size_t count, std::size_t leastHits,
                            std::size_t leastMisses) const {
    auto const image = imagePoints(count);
    std::size_t met = 0;
    for (geo::XYPoint const& point : image) {
      SCOPED_TRACE(testing::Message() << "sample " << point.x << ", line " << point.y);
      auto const [position, status] = hit("PANF27A", point, surface);
      double const walked = firstByWalking("PANF27A", point, surface);
      ASSERT_EQ(status, std::isnan(walked) ? Status::noSurface : Status::ok);
      if (status != Status::ok) {
        continue;
      }
      EXPECT_LT(std::fabs(above(position, surface)), 1e-3);
      geo::XYZPoint local;
      mMap.transform(mStrip->localSystem(), {&position, 1}, {&local, 1});
      // The walk sees it after the first step below.
      EXPECT_NEAR(local.z, walked + 0.025, 0.03);
      ++met;
    }
    EXPECT_GE(met, leastHits);
    EXPECT_GE(image.size() - met, leastMisses);
  }
};

TEST_F(SurfaceWalk, RaysOntoManyTilesEndAtTheFirstPlaceOnThem) {
  mRaster.fill([&](int column, int row) { return rough(column, row); });
  expectFirstByWalking(surface(), 150, 120, 0);
}

// Pits of 20 cells deep below their surroundings, some of which have no bottom.
TEST_F(SurfaceWalk, RaysThroughHolesOfManyTilesMeetNothing) {
  mRaster.noData = -9999.0;
  mRaster.fill([&](int column, int row) {
    bool const isPit = column % 40 < 20 && row % 40 < 20;
    return isPit && column % 80 < 40 ? -9999.0 : rough(column, row) - (isPit ? 15.0 : 0.0);
  });
  expectFirstByWalking(surface(), 150, 60, 10);
}

// Turned by some degrees, with cells that aren't square.
TEST_F(SurfaceWalk, RaysOntoATurnedRasterEndAtTheFirstPlaceOnIt) {
  mRaster.geoTransform = {mOrigin.x - 60.0, 0.97, 0.35, mOrigin.y + 200.0, 0.41, -1.2};
  mRaster.fill([&](int column, int row) { return rough(column, row); });
  expectFirstByWalking(surface(), 100, 60, 0);
}

TEST_F(SurfaceWalk, RayThatComesInBelowTheEdgeOfTheRasterMeetsNothing) {
  // The ray goes ahead by 0.24 m a metre of depth: on its way to the ground at x = 290 m it is 20 m high at 285 m.
  mRaster.geoTransform[0] = mOrigin.x + 285.0;
  // Trenches, so that heights around the ray leave all of its way.
  mRaster.fill([&](int column, int) { return groundHeight() + (column % 8 == 7 ? 0.0 : 100.0); });
  kes::Surface const high = surface();
  EXPECT_EQ(hit("PANF27A", {50.0, 50.0}, high).status, Status::noSurface);
  mRaster.fill([&](int, int) { return groundHeight(); });
  EXPECT_EQ(hit("PANF27A", {50.0, 50.0}, surface()).status, Status::ok);
}

TEST_F(SurfaceWalk, CacheOfOneTileChangesNoBit) {
  mRaster.fill([&](int column, int row) { return rough(column, row); });
  std::string const file = mRaster.write(mFolder);
  auto const usual = hits(kes::Surface::raster(file), 5000);
  expectSame(hits(kes::Surface::raster(file, 0), 5000), usual);
  EXPECT_GT(std::count(usual.status.begin(), usual.status.end(), Status::ok), 4000);
}

TEST_F(SurfaceWalk, NeighboursAndThreadsChangeNoBit) {
  mRaster.noData = -9999.0;
  mRaster.fill([&](int column, int row) { return (column * 7 + row) % 301 == 0 ? -9999.0 : rough(column, row); });
  kes::Surface const surface = this->surface();
  auto const image = imagePoints(5000);
  auto const whole = hits(surface, image.size());
  expectSame(hits(surface, image.size(), 3), whole);
  for (std::size_t i = 0; i < image.size(); i += 11) {
    auto const single = hit("PANF27A", image[i], surface);
    ASSERT_EQ(single.status, whole.status[i]);
    ASSERT_THAT(single.position.x, test::SameBits(whole.points[i].x));
    ASSERT_THAT(single.position.y, test::SameBits(whole.points[i].y));
    ASSERT_THAT(single.position.z, test::SameBits(whole.points[i].z));
  }
}

// Two rasters all around the globe with the same heights, one of which begins where the rays end.
TEST_F(SurfaceWalk, RaysAcrossTheSeamOfAGlobalRasterEndWhereOthersDo) {
  constexpr int AROUND = 36000;
  constexpr double CELL = 0.01;
  double const ahead = 290.0 / (6378137.0 * std::cos(0.6)) / DEGREE;  // of line 50
  mRaster.columns = AROUND;
  mRaster.rows = 20;
  mRaster.system = "EPSG:4326";
  mRaster.type = GDT_Float32;
  auto const beginningAt = [&](int first, std::string const& name) {
    mRaster.geoTransform = {15.0 + ahead + (first - 0.5) * CELL, CELL, 0.0, 0.6 / DEGREE + 0.1, 0.0, -CELL};
    mRaster.fill([&](int column, int) { return groundHeight() + ((column + first + AROUND) % 2 == 0 ? 20.0 : 60.0); });
    return kes::Surface::raster(mRaster.write(mFolder, name));
  };
  kes::Surface const here = beginningAt(0, "here.tif");
  kes::Surface const elsewhere = beginningAt(-100, "elsewhere.tif");
  for (double line = 30.0; line <= 70.0; line += 0.125) {
    auto const a = hit("PANF27A", {50.0, line}, here);
    auto const b = hit("PANF27A", {50.0, line}, elsewhere);
    ASSERT_EQ(a.status, Status::ok) << line;
    ASSERT_EQ(b.status, Status::ok) << line;
    ASSERT_NEAR(a.position.x, b.position.x, 1e-4) << line;
    ASSERT_NEAR(a.position.z, b.position.z, 1e-4) << line;
  }
}

TEST_F(SurfaceWalk, HeightsOfAMapDependOnThePointAlone) {
  auto const image = imagePoints(5000);
  std::vector<double> heights;
  for (std::size_t i = 0; i < image.size(); ++i) {
    heights.push_back(i % 97 == 0 ? std::numeric_limits<double>::quiet_NaN()
                                  : groundHeight() + static_cast<double>(i % 13));
  }
  kes::ToGroundOptions options;
  options.system = mMap;
  options.heights = kes::HeightPerPoint{heights};
  kes::Band const band = mStrip->band("PANF27A");
  std::vector<double> times(image.size());
  options.outputs.time = times;
  auto const whole = test::toGround(band, image, options);
  options.outputs.time = {};
  options.threads = 3;
  expectSame(test::toGround(band, image, options), whole);
  options.threads = 1;
  double time = 0.0;
  options.outputs.time = {&time, 1};
  for (std::size_t i = 0; i < image.size(); i += 11) {
    options.heights = kes::ConstantHeight{heights[i]};
    std::vector<geo::XYPoint> const one{image[i]};
    auto const single = test::toGround(band, one, options);
    ASSERT_EQ(single.status[0], whole.status[i]);
    ASSERT_EQ(single.status[0], i % 97 == 0 ? Status::notFinite : Status::ok);
    ASSERT_THAT(single.points[0].x, test::SameBits(whole.points[i].x));
    ASSERT_THAT(single.points[0].y, test::SameBits(whole.points[i].y));
    ASSERT_THAT(single.points[0].z, test::SameBits(whole.points[i].z));
    ASSERT_TRUE(time == times[i] || (std::isnan(time) && std::isnan(times[i])));
  }
}

}  // namespace
