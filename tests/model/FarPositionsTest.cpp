// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "model/LineSearch.h"
#include "model/LineSolver.h"

#include <geo/coordSys.h>

#include <cmath>
#include <limits>

// Positions that are not finite, or so far away that single precision can't lead back from there, among good ones.

namespace {

using geo::XYPoint;
using geo::XYZPoint;
using sensor::KESStripModel;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// Each coordinate alone, and all three.
std::vector<XYZPoint> badPositions() {
  std::vector<XYZPoint> bad{{1e8, -3e8, 2e8}, {-1e9, 1e9, 1e9}, {1e20, 1e20, -1e20}, {1e300, 1e300, 1e300}};
  for (double const size : {1e6, 1e7, 1e8, 1e9, 1e15, 1e30, 1e38, 1e39, 1e300, infinity, nan}) {
    for (double const value : {size, -size}) {
      bad.insert(bad.end(), {{value, 0.0, 0.0}, {0.0, value, 0.0}, {0.0, 0.0, value}});
    }
  }
  return bad;
}

class FarPositions : public test::SmallModel {
protected:
  // A nose-down attitude turns the direction of a far position round: it lies above the camera's horizon.
  FarPositions() {
    mStrip.direction = 0.7;
    mStrip.roll = 0.05;
    mStrip.kappaError = 0.03;
  }

  static std::vector<XYZPoint> goodPositions(KESStripModel const& strip) {
    std::vector<XYZPoint> good;
    for (int i = 0; i < 16; ++i) {
      good.push_back(ground(strip, 5.0 + 5.5 * i, 90.0 - 5.0 * i, static_cast<float>(3 * i)));
    }
    return good;
  }

  // Solves the good positions with bad ones from `at` on, and expects the good ones where they are without.
  template <class Solve>
  static void expectOthersSolved(KESStripModel const& strip, std::vector<XYZPoint> const& good,
                                 std::vector<XYZPoint> const& bad, std::size_t at, Solve solve) {
    std::vector<XYZPoint> positions = good;
    std::copy(bad.begin(), bad.end(), positions.begin() + static_cast<std::ptrdiff_t>(at));
    std::vector<XYPoint> image(positions.size());
    solve(positions, image);
    for (std::size_t i = 0; i < good.size(); ++i) {
      if (i < at || i >= at + bad.size()) {
        XYPoint single;
        strip.lsrToImage(good[i], 0, single);
        EXPECT_NEAR(image[i].x, single.x, 0.05) << i;
        EXPECT_NEAR(image[i].y, single.y, 0.1) << i;
      }
    }
  }
};

TEST_F(FarPositions, LeaveTheOthersOfARunAsTheyAre) {
  auto const strip = model();
  auto const solve = [&](std::vector<XYZPoint> const& positions, std::vector<XYPoint>& image) {
    strip->lsrToImage(positions, 0, image);
  };
  for (XYZPoint const& bad : badPositions()) {
    for (std::size_t const at : {0U, 4U, 14U}) {
      SCOPED_TRACE(testing::Message() << bad.x << ' ' << bad.y << ' ' << bad.z << " at " << at);
      expectOthersSolved(*strip, goodPositions(*strip), {bad}, at, solve);
    }
  }
}

TEST_F(FarPositions, LeaveTheOthersOfTheLanesAsTheyAre) {
  auto const strip = model();
  auto const solve = [&](std::vector<XYZPoint> const& positions, std::vector<XYPoint>& image) {
    strip->lsrToImageSSE(positions, 0, image);
  };
  for (XYZPoint const& bad : badPositions()) {
    for (std::size_t const at : {0U, 3U, 6U}) {
      SCOPED_TRACE(testing::Message() << bad.x << ' ' << bad.y << ' ' << bad.z << " at " << at);
      expectOthersSolved(*strip, goodPositions(*strip), {bad}, at, solve);
    }
  }
}

// All of them in a row, at the beginning and in the middle: none leads the way for another.
TEST_F(FarPositions, LeaveTheOthersAlsoInARow) {
  auto const strip = model();
  std::vector<XYZPoint> const bad = badPositions();
  std::vector<XYZPoint> good;
  while (good.size() < bad.size() + 32) {
    std::vector<XYZPoint> const more = goodPositions(*strip);
    good.insert(good.end(), more.begin(), more.end());
  }
  for (std::size_t const at : {0U, 9U}) {
    expectOthersSolved(*strip, good, bad, at,
                       [&](auto const& positions, auto& image) { strip->lsrToImage(positions, 0, image); });
    expectOthersSolved(*strip, good, bad, at,
                       [&](auto const& positions, auto& image) { strip->lsrToImageSSE(positions, 0, image); });
  }
}

TEST_F(FarPositions, MapPositionsWithoutALocalOneLeaveTheOthersAsTheyAre) {
  auto const strip = model();
  std::vector<XYZPoint> const good = goodPositions(*strip);
  std::vector<XYZPoint> map(good.size());
  for (std::size_t i = 0; i < good.size(); ++i) {
    ASSERT_EQ(geo::coordSys::transform(strip->lsrSystem(), strip->mappingSystem(), good[i], map[i]), 0);
  }
  map[0] = map[9] = {nan, nan, nan};
  map[5].z = infinity;
  std::vector<XYPoint> image(map.size());
  std::vector<XYZPoint> lsr(map.size());
  strip->mapToImage(map, 0, image, lsr);
  for (std::size_t i = 0; i < good.size(); ++i) {
    if (i == 0 || i == 5 || i == 9) {
      EXPECT_FALSE(std::isfinite(image[i].y)) << i;
      continue;
    }
    XYPoint single;
    strip->lsrToImage(good[i], 0, single);
    EXPECT_NEAR(image[i].x, single.x, 0.05) << i;
    EXPECT_NEAR(image[i].y, single.y, 0.1) << i;
  }
}

TEST_F(FarPositions, ComeOutAsTheyDoWithoutTheOnesAroundThem) {
  auto const strip = model();
  std::vector<XYPoint> run(2);
  strip->lsrToImage({ground(*strip, 50.0, 50.0, 0.0F), {nan, 0.0, 0.0}}, 0, run);
  EXPECT_TRUE(std::isnan(run[1].y));
  EXPECT_NEAR(run[0].y, 50.0, 0.05);
}

// The lines whose orientation is looked up for a run.
struct Lines {
  void orientationAt(float line) { looked.push_back(line); }
  std::vector<float> looked;
};

Lines linesOf(KESStripModel const& strip, std::vector<XYZPoint> const& ground, std::vector<XYPoint>& image) {
  Lines lines;
  image.resize(ground.size());
  solveLines(sensor::StripBand(*strip.modelData(), 0), ground, image, lines);
  return lines;
}

// The next one starts from its neighbour's line, with its orientation.
TEST_F(FarPositions, PositionThatIsntFiniteNeedsNoOrientationAndLeavesTheLine) {
  auto const strip = model();
  XYZPoint const good = ground(*strip, 20.0, 30.0, 0.0F);
  std::vector<XYPoint> image;
  std::size_t const alone = linesOf(*strip, {good}, image).looked.size();
  XYPoint const expected = image[0];
  EXPECT_EQ(linesOf(*strip, {good, {nan, 0.0, 0.0}, {0.0, 0.0, infinity}, {0.0, nan, 0.0}, good}, image).looked.size(),
            alone);
  EXPECT_NEAR(image[4].y, expected.y, 0.05);
}

// The first position of all starts with its heading, in the middle; so does one that begins the run anew.
TEST_F(FarPositions, LostPositionBeginsTheRunAnew) {
  auto const strip = model();
  XYZPoint const good = ground(*strip, 20.0, 30.0, 0.0F);
  std::vector<XYPoint> image;
  std::vector<float> const alone = linesOf(*strip, {good}, image).looked;
  XYPoint const expected = image[0];
  std::vector<float> const looked = linesOf(*strip, {{1e300, 0.0, 0.0}, good, good}, image).looked;
  ASSERT_GT(looked.size(), alone.size());
  EXPECT_EQ(std::vector<float>(looked.end() - static_cast<std::ptrdiff_t>(alone.size()), looked.end()), alone);
  EXPECT_EQ(image[1].x, expected.x);
  EXPECT_EQ(image[1].y, expected.y);
}

TEST(HeightOfRun, IsTheFirstFiniteOne) {
  std::vector<XYZPoint> const ground{{1, 1, nan}, {1, 1, infinity}, {1, 1, -infinity}, {nan, 1, 5}, {1, 1, 7}};
  EXPECT_EQ(sensor::heightOfRun(ground.data(), 5), 5.0);
  EXPECT_EQ(sensor::heightOfRun(ground.data() + 4, 1), 7.0);
  EXPECT_TRUE(std::isnan(sensor::heightOfRun(ground.data(), 3)));
}

TEST(HeightOfRun, FinitePositionsAreFiniteInAllCoordinates) {
  EXPECT_TRUE(sensor::isFinite({1e300, -1e300, 0.0}));
  EXPECT_FALSE(sensor::isFinite({nan, 0.0, 0.0}));
  EXPECT_FALSE(sensor::isFinite({0.0, -infinity, 0.0}));
  EXPECT_FALSE(sensor::isFinite({0.0, 0.0, infinity}));
}

}  // namespace
