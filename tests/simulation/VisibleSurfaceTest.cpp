// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/LocalMap.h>
#include <simulation/Random.h>
#include <simulation/ScanLine.h>
#include <simulation/Terrain.h>
#include <simulation/TerrainBounds.h>
#include <simulation/VisibleSurface.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>

namespace {

using simulation::LineOfSight;
using simulation::Terrain;
using simulation::VisibleSurface;

constexpr double tolerance = 1e-3;

// A terrain and the local system in its middle, whose plane lies at a height of 0.
struct Scene {
  explicit Scene(std::string const& dem, double top = 100.0)
      : terrain(dem), local(geo::coordSysFactory::getInstance()->createLSR84(terrain.middle())),
        map(*local, *terrain.source().coordSystem(), {{-200, -200, -20}, {200, 200, top}}, 50.0),
        bounds(terrain, {{0, 0}, {1e9, 1e9}}), surface(terrain, map, bounds, {-20.0, top}, tolerance) {}

  // A line from the eye through a local position.
  double meet(geo::XYZPoint const& eye, geo::XYZPoint const& through, double guess = 0.0) const {
    return surface.meet(LineOfSight(eye, through), guess);
  }
  // The local position of a column and row of the terrain, at a height.
  geo::XYZPoint at(double column, double row, double height) const {
    geo::XYZPoint position = terrain.position({column, row});
    position.z = height;
    geo::coordSys::transform(terrain.source().coordSystem(), local.get(), position, position);
    return position;
  }
  // The terrain's column and row of the place where a line meets it; nothing where it meets none.
  std::optional<geo::XYPoint> seen(geo::XYZPoint const& eye, geo::XYZPoint const& through, double guess = 0.0) const {
    LineOfSight const line(eye, through);
    double const z = surface.meet(line, guess);
    geo::XYZPoint position = line.at(z);
    geo::coordSys::transform(local.get(), terrain.source().coordSystem(), position, position);
    return std::isnan(z) ? std::nullopt : std::optional(terrain.cell(position));
  }

  Terrain terrain;
  std::unique_ptr<geo::coordSys> local;
  simulation::LocalMap map;
  simulation::TerrainBounds bounds;
  VisibleSurface surface;
};

// 300 columns of 1 m and 200 rows of 1.5 m; axes of the map are those of the local system but for a thousandth.
test::ElevationRaster raster() {
  test::ElevationRaster result;
  result.columns = 300;
  result.rows = 200;
  result.geoTransform = {499850.0, 1.0, 0.0, 5400000.0, 0.0, -1.5};
  return result;
}

class Surface : public testing::Test {
protected:
  Scene scene(test::ElevationRaster const& dem) const { return Scene(dem.write(mFolder)); }
  test::TempFolder mFolder;
};

TEST_F(Surface, LevelGroundIsMetAtItsHeight) {
  Scene const s = scene(raster().fill([](int, int) { return 12.0; }));
  EXPECT_NEAR(s.meet({0, 0, 500}, {100, -40, 0}), 12.0, 3e-3);
  EXPECT_NEAR(s.meet({0, 0, 500}, {0, 0, 0}), 12.0, tolerance) << "straight down";
  EXPECT_NEAR(s.meet({0, 0, 500}, {100, -40, 0}, 3000.0), 12.0, 3e-3) << "from any guess";
  EXPECT_NEAR(s.meet({0, 0, 500}, {100, -40, 0}, std::nan("")), 12.0, 3e-3);
}

// The eye at 112 m, 100 m above the ground and west of a wall that is 30 m high. A line down at 45 degrees meets the
// wall's flank, which rises 30 m over one column, from 199.5 on. What it would meet behind isn't seen.
TEST_F(Surface, WallHidesWhatIsBeyondIt) {
  Scene const s = scene(raster().fill([](int column, int) { return column == 200 ? 42.0 : 12.0; }));
  geo::XYZPoint const eye = s.at(110.0, 100.0, 112.0);
  for (double const guess : {0.0, 12.0, 42.0}) {
    // It would meet the ground at column 210; the wall's top is at column 200.5, where the line is at 21.5 m.
    auto const flank = s.seen(eye, s.at(220.0, 100.0, 2.0), guess);
    ASSERT_TRUE(flank);
    EXPECT_NEAR(flank->x, 199.5 + 10.5 / 31.0, 0.01) << "where 222 - c = 12 + 30 (c - 199.5)";
  }
  auto const over = s.seen(eye, s.at(240.0, 100.0, 12.0));
  ASSERT_TRUE(over);
  EXPECT_NEAR(over->x, 240.0, 0.01) << "42 m is passed at column 201";
  auto const before = s.seen(eye, s.at(190.0, 100.0, 12.0), 42.0);
  ASSERT_TRUE(before);
  EXPECT_NEAR(before->x, 190.0, 0.01);
}

// Lines over steep random ground: where they are said to meet it they do, and small steps find nothing in their way
// before. A line that passes by the surface within the tolerance may count as meeting it.
TEST_F(Surface, FirstMeetingIsFoundOverSteepGround) {
  simulation::Random heights(3, 0);
  Scene const s = scene(raster().fill([&](int, int) { return std::floor(heights.uniform(0.0, 12.0)); }));
  simulation::Random random(4, 0);
  int touching = 0;
  for (int i = 0; i < 300; ++i) {
    geo::XYZPoint const eye(random.uniform(-60, 60), random.uniform(-60, 60), 60.0);
    geo::XYZPoint const foot(eye.x + random.uniform(-60, 60), eye.y + random.uniform(-60, 60), 0.0);
    LineOfSight const line(eye, foot);
    double const z = s.surface.meet(line, random.uniform(0.0, 12.0));
    auto const gap = test::gapOver(s.terrain, *s.local, line.at(z));
    ASSERT_TRUE(gap) << "line " << i;
    EXPECT_NEAR(*gap, 0.0, 2 * tolerance) << "line " << i;
    auto const expected =
        test::firstMeeting([&](double at) { return line.at(at); }, *s.local, s.terrain, {20.0, -1.0, 0.01});
    ASSERT_TRUE(expected) << "line " << i;
    EXPECT_LE(*expected, z + 2 * tolerance) << "line " << i;
    touching += z > *expected + 0.01 ? 1 : 0;
  }
  EXPECT_LT(touching, 4);
}

TEST_F(Surface, HeightsMayBeInFeet) {
  test::ElevationRaster dem = raster().fill([](int, int) { return 100.0; });
  dem.unit = "ft";
  EXPECT_NEAR(scene(dem).meet({0, 0, 90}, {10, 0, 0}), 30.48, 2 * tolerance);
}

TEST_F(Surface, LinesThatMeetNothingSaySo) {
  Scene const s = scene(raster().fill([](int, int) { return 12.0; }));
  EXPECT_TRUE(std::isnan(s.meet({0, 0, 500}, {400, 0, 0}))) << "beside the terrain";
  EXPECT_TRUE(std::isnan(s.meet({0, 0, 8}, {100, 0, 0}))) << "from below the surface";
  EXPECT_TRUE(std::isnan(s.meet({0, 0, 500}, {std::nan(""), 0, 0})));
  EXPECT_TRUE(std::isnan(s.meet({0, 0, std::nan("")}, {0, 0, 0})));
}

// A hole of ten columns from 140 on, level ground around: a line into it comes under the ground beyond.
TEST_F(Surface, HoleShowsNothing) {
  test::ElevationRaster dem = raster();
  dem.noData = -9999.0;
  Scene const s = scene(dem.fill([](int column, int) { return column >= 140 && column < 150 ? -9999.0 : 12.0; }));
  geo::XYZPoint const eye = s.at(100.0, 100.0, 112.0);
  EXPECT_FALSE(s.seen(eye, s.at(145.0, 100.0, 12.0)));
  EXPECT_FALSE(s.seen(eye, s.at(145.0, 100.0, 12.0), 12.0));
  auto const beside = s.seen(eye, s.at(139.5, 100.0, 12.0));
  ASSERT_TRUE(beside);
  EXPECT_NEAR(beside->x, 139.5, 0.01);
  auto const beyond = s.seen(eye, s.at(150.5, 100.0, 12.0));
  ASSERT_TRUE(beyond);
  EXPECT_NEAR(beyond->x, 150.5, 0.01);
  EXPECT_FALSE(s.seen(s.at(145.0, 100.0, 112.0), s.at(145.0, 100.0, 0.0))) << "straight down";
}

// The outer half of a border cell has the height of its centre.
TEST_F(Surface, BorderBelongsToTheTerrain) {
  Scene const s = scene(raster().fill([](int, int row) { return 12.0 + row; }));
  auto const border = s.seen(s.at(150.0, 5.0, 100.0), s.at(150.0, 0.25, 12.0));
  ASSERT_TRUE(border);
  EXPECT_NEAR(border->y, 0.25, 0.01);
}

}  // namespace
