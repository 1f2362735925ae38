// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InstructionSets.h"
#include "LaneKernels.h"
#include "PreparedBand.h"
#include "RandomStrips.h"
#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <hwy/targets.h>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

// The lanes beside the search and the formulae that they stand for, for each instruction set of this machine.

namespace {

using kes::Status;
using namespace kes::detail;
using test::Prepared;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

class Lanes : public test::WithInstructionSet {
protected:
  /// Which positions a call left.
  using Left = std::vector<bool>;

  struct InImage {
    explicit InImage(std::size_t count) : image(count), time(count), status(count), left(count) {}
    std::vector<geo::XYPoint> image;
    std::vector<double> time;
    std::vector<Status> status;
    Left left;
  };
  // In calls of `part` positions.
  static InImage find(Prepared const& prepared, std::vector<geo::XYZPoint> const& ground, std::size_t part) {
    InImage found(ground.size());
    std::vector<std::uint32_t> rest(part);
    for (std::size_t i = 0; i < ground.size(); i += part) {
      std::size_t const count = std::min(part, ground.size() - i);
      markLeft(found.left, i, rest,
               findInLanes(prepared.tables, prepared.limits,
                           {&ground[i], count, &found.image[i], &found.time[i], &found.status[i], rest.data()}));
    }
    return found;
  }

  /// How many positions the lanes left, of all that were asked for.
  struct Share {
    std::size_t left = 0;
    std::size_t all = 0;
  };
  // Of image positions, each moved by `moved`, where the view doesn't go back.
  template <class Moved>
  static Share shareOfLeft(Moved const& moved) {
    Share share;
    for (unsigned seed = 0; seed < test::FLIGHTS; ++seed) {
      Prepared const prepared(test::randomStrip(seed), "PANN00A");
      std::vector<geo::XYZPoint> ground;
      for (geo::XYPoint const& position : test::imagePoints(prepared.band, seed, 300)) {
        geo::XYPoint const image = moved(position);
        std::size_t const line = prepared.chain.lines().intervalOf(image.y);
        bool const goesBack = prepared.tables.rows[prepared.tables.firstRow(line)].greatestDepth < 0.0;
        if (!goesBack && image.x > 0.0 && image.x < prepared.band.samples() - 1.0) {
          ground.push_back(prepared.band.toGround(image, test::atHeight(HEIGHT)).position);
        }
      }
      auto const found = find(prepared, ground, ground.size());
      share.all += ground.size();
      share.left += static_cast<std::size_t>(std::count(found.left.begin(), found.left.end(), true));
    }
    return share;
  }

  struct OnGround {
    explicit OnGround(std::size_t count) : ground(count), time(count), status(count), left(count) {}
    std::vector<geo::XYZPoint> ground;
    std::vector<double> time;
    std::vector<Status> status;
    Left left;
  };
  // At heights of their own, or without any all at 60 metres.
  static OnGround project(Prepared const& prepared, std::vector<geo::XYPoint> const& image,
                          std::vector<double> const& heights, std::size_t part) {
    OnGround projected(image.size());
    std::vector<std::uint32_t> rest(part);
    for (std::size_t i = 0; i < image.size(); i += part) {
      std::size_t const count = std::min(part, image.size() - i);
      markLeft(projected.left, i, rest,
               projectInLanes(prepared.tables, prepared.limits,
                              {&image[i], heights.empty() ? nullptr : &heights[i], HEIGHT, count, &projected.ground[i],
                               &projected.time[i], &projected.status[i], rest.data()}));
    }
    return projected;
  }

  static void markLeft(Left& left, std::size_t begin, std::vector<std::uint32_t> const& rest, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
      ASSERT_TRUE(k == 0 || rest[k] > rest[k - 1]);
      left.at(begin + rest[k]) = true;
    }
  }

  static void expectBitsOfTheSearch(Prepared const& prepared, std::vector<geo::XYZPoint> const& ground,
                                    InImage const& found) {
    for (std::size_t i = 0; i < ground.size(); ++i) {
      if (found.left[i]) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << "position " << i << ", " << ground[i].x << ' ' << ground[i].y << ' '
                                      << ground[i].z);
      LineSearch::Memory memory;
      Found const single = prepared.search.find(ground[i], memory);
      ASSERT_TRUE(single.isSolved);
      ASSERT_EQ(single.passes, passesInLanes);
      ASSERT_THAT(found.image[i].x, test::SameBits(single.sample));
      ASSERT_THAT(found.image[i].y, test::SameBits(single.line));
      ASSERT_THAT(found.time[i], test::SameBits(single.time));
      ASSERT_EQ(found.status[i], test::statusOf(prepared, found.image[i], single.time));
    }
  }

  static void expectBitsOfTheChain(Prepared const& prepared, std::vector<geo::XYPoint> const& image,
                                   std::vector<double> const& heights, OnGround const& projected) {
    for (std::size_t i = 0; i < image.size(); ++i) {
      if (projected.left[i]) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << "position " << i << ", " << image[i].x << ' ' << image[i].y);
      ASSERT_GE(image[i].y, prepared.chain.lines().firstLine());
      ASSERT_LE(image[i].y, prepared.chain.lines().lastLine());
      Piece const piece = prepared.chain.pieceAt(image[i].y);
      Pose const pose = prepared.chain.pose(piece, image[i].y);
      geo::XYZPoint const ray = prepared.chain.ray(pose, image[i].x);
      double const height = heights.empty() ? HEIGHT : heights[i];
      double const s = (height - pose.centre.z) / ray.z;
      ASSERT_TRUE(ray.z < 0.0 && s > 0.0 && std::isfinite(s));
      ASSERT_THAT(projected.ground[i].x, test::SameBits(pose.centre.x + s * ray.x));
      ASSERT_THAT(projected.ground[i].y, test::SameBits(pose.centre.y + s * ray.y));
      ASSERT_THAT(projected.ground[i].z, test::SameBits(height));
      double const time = prepared.chain.time(piece, image[i].y);
      ASSERT_THAT(projected.time[i], test::SameBits(time));
      ASSERT_EQ(projected.status[i], test::statusOf(prepared, image[i], time));
    }
  }

  /// Calls `check(prepared, seed)` for the bands of all flights.
  template <class Check>
  static void forEachBand(Check check) {
    for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
      for (char const* const id : test::BANDS) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", band " + id);
        check(Prepared(test::randomStrip(seed), id), seed);
        if (HasFatalFailure()) {
          return;
        }
      }
    }
  }

  static constexpr double HEIGHT = 60.0;
  // Whole vectors of every width, and some that aren't.
  static constexpr std::size_t PARTS[] = {1000, 1, 3, 7, 13};
};

/// Positions that no line sees, or that aren't positions.
std::vector<geo::XYZPoint> hostile(geo::XYZPoint const& good, double flyingHeight) {
  return {{NAN_VALUE, good.y, good.z},
          {good.x, NAN_VALUE, good.z},
          {good.x, good.y, NAN_VALUE},
          {INFINITE, good.y, good.z},
          {good.x, -INFINITE, good.z},
          {good.x, good.y, INFINITE},
          {good.x, good.y, -INFINITE},
          {1e300, good.y, good.z},
          {good.x, -1e300, good.z},
          {good.x, good.y, -1e300},
          {good.x, good.y, 1e300},
          {good.x, good.y, flyingHeight},
          {good.x, good.y, flyingHeight + 1.0},
          {good.x + 1e7, good.y, good.z},
          {good.x, good.y - 1e9, good.z}};
}

/// The same of image positions.
std::vector<geo::XYPoint> hostile() {
  return {{NAN_VALUE, 10.0}, {10.0, NAN_VALUE}, {INFINITE, 10.0}, {10.0, INFINITE},
          {-INFINITE, 10.0}, {10.0, -INFINITE}, {1e300, 10.0},    {10.0, 1e300},
          {-1e300, 10.0},    {10.0, -1e300},    {10.0, -256.001}, {10.0, 1e10}};
}

/// Image positions all over a band: some in rows, some in no order, and beyond the image.
std::vector<geo::XYPoint> imagePositions(kes::Band const& band, unsigned seed) {
  std::vector<geo::XYPoint> image = test::imagePoints(band, seed, 40);
  for (int i = 0; i < 40; ++i) {
    image.emplace_back(0.3 * band.samples() + 0.9 * i, 50.0 + 0.37 * i);
  }
  // The last pixel's middle, and outer edges, which are in the sensor line where the calibration has more samples.
  for (double const sample : {-0.5, band.samples() - 1.0, band.samples() - 0.5}) {
    image.emplace_back(sample, 30.0);
  }
  image.emplace_back(30.0, band.lines() - 1.0 + kes::Band::lineMargin + 0.001);
  for (double const line : {-250.0, -20.0, -0.5, band.lines() - 0.5, band.lines() + 100.0}) {
    image.emplace_back(0.5 * band.samples(), line);
    image.emplace_back(-0.7, line + 0.1);
    image.emplace_back(band.samples() - 0.6, line - 0.1);
  }
  return image;
}

/// On the ground, far below it, and so near to the camera that one secant isn't enough.
std::vector<geo::XYZPoint> groundPositions(Prepared const& prepared, unsigned seed) {
  auto const image = imagePositions(prepared.band, seed);
  std::vector<geo::XYZPoint> ground = test::toGround(prepared.band, image, test::atHeight(seed % 7 * 30.0)).points;
  double const usual = prepared.chain.usualDepth();
  for (double const below : {0.3, 1.0, 3.0, 10.0, 30.0, 3.0 * usual, 7.0 * usual, 20.0 * usual, 40.0 * usual}) {
    auto const close =
        test::toGround(prepared.band, image, test::atHeight(prepared.tables.flyingHeight - below)).points;
    ground.insert(ground.end(), close.begin(), close.begin() + 10);
  }
  return ground;
}

/// Puts some elements among others.
template <class Point>
std::vector<Point> mixed(std::vector<Point> points, std::vector<Point> const& others, unsigned seed) {
  std::mt19937 random(seed);
  for (Point const& other : others) {
    points.insert(points.begin() + static_cast<std::ptrdiff_t>(random() % points.size()), other);
  }
  return points;
}

TEST_P(Lanes, FindPositionsToTheBitOfTheSearch) {
  forEachBand([](Prepared const& prepared, unsigned seed) {
    auto const ground = groundPositions(prepared, seed);
    auto const all = mixed(ground, hostile(ground[3], prepared.tables.flyingHeight), seed);
    for (std::size_t const part : PARTS) {
      expectBitsOfTheSearch(prepared, all, find(prepared, all, part));
    }
  });
}

// The lanes do the work: in the image, and where the view doesn't go back, they leave next to nothing.
TEST_P(Lanes, FindNearlyAllPositionsWhereTheViewNeverGoesBack) {
  Share const share = shareOfLeft([](geo::XYPoint const& image) { return image; });
  EXPECT_GT(share.all, 5000U);
  EXPECT_LT(share.left, share.all / 500);
}

// There pieces of the flight and of the sensor line meet; what rounding puts between two of the flight is left.
TEST_P(Lanes, FindMostCentresOfPixels) {
  Share const share =
      shareOfLeft([](geo::XYPoint const& image) { return geo::XYPoint(std::round(image.x), std::round(image.y)); });
  EXPECT_GT(share.all, 5000U);
  EXPECT_LT(share.left, share.all / 10);
}

TEST_P(Lanes, LeaveWhatHasNoSolutionOrSeveral) {
  Prepared const prepared(test::randomStrip(0), "PANN00A");
  auto const good = groundPositions(prepared, 0);
  auto const bad = hostile(good[3], prepared.tables.flyingHeight);
  auto const found = find(prepared, bad, bad.size());
  EXPECT_EQ(std::count(found.left.begin(), found.left.end(), true), static_cast<std::ptrdiff_t>(bad.size()));
}

TEST_P(Lanes, ProjectToHeightsToTheBitOfTheChain) {
  forEachBand([](Prepared const& prepared, unsigned seed) {
    auto const image = mixed(imagePositions(prepared.band, seed), hostile(), seed);
    std::vector<double> heights;
    for (std::size_t i = 0; i < image.size(); ++i) {
      heights.push_back(i % 29 == 0   ? NAN_VALUE
                        : i % 31 == 0 ? INFINITE
                        : i % 37 == 0 ? 1e300
                        : i % 41 == 0 ? prepared.tables.flyingHeight + 100.0
                                      : 10.0 * static_cast<double>(i % 17));
    }
    for (std::size_t const part : PARTS) {
      expectBitsOfTheChain(prepared, image, {}, project(prepared, image, {}, part));
      expectBitsOfTheChain(prepared, image, heights, project(prepared, image, heights, part));
    }
  });
}

TEST_P(Lanes, ProjectAllPositionsWithinTheSensorLine) {
  for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
    Prepared const prepared(test::randomStrip(seed), "REDF16A");
    auto const image = mixed(imagePositions(prepared.band, seed), hostile(), seed);
    auto const projected = project(prepared, image, {}, image.size());
    for (std::size_t i = 0; i < image.size(); ++i) {
      SensorLine const& line = prepared.chain.sensorLine();
      bool const isSimple = image[i].x >= line.firstSample() && image[i].x < line.lastSample() &&
                            image[i].y >= -kes::Band::lineMargin &&
                            image[i].y <= prepared.band.lines() - 1.0 + kes::Band::lineMargin;
      ASSERT_EQ(projected.left[i], !isSimple) << "seed " << seed << ", " << image[i].x << ' ' << image[i].y;
    }
  }
}

TEST_P(Lanes, LeaveHeightsWithoutAPosition) {
  Prepared const prepared(test::randomStrip(2), "PANN00A");
  std::vector<double> const heights{NAN_VALUE, INFINITE, -INFINITE, 1e300, prepared.tables.flyingHeight + 100.0,
                                    HEIGHT};
  std::vector<geo::XYPoint> const image(heights.size(), geo::XYPoint(30.0, 100.0));
  EXPECT_EQ(project(prepared, image, heights, heights.size()).left, (Left{true, true, true, true, true, false}));
}

/// What calls return on request.
struct Outputs {
  explicit Outputs(std::size_t count) : time(count), passes(count), closure(count) {}
  kes::PointOutputs spans() { return {time, passes, closure}; }
  std::vector<double> time;
  std::vector<int> passes;
  std::vector<kes::Closure> closure;
};

void expectSame(Outputs const& single, Outputs const& all, std::size_t i) {
  EXPECT_THAT(all.time[i], test::SameBits(single.time[0]));
  EXPECT_EQ(all.passes[i], single.passes[0]);
  EXPECT_THAT(all.closure[i].pixels, test::SameBits(single.closure[0].pixels));
  EXPECT_THAT(all.closure[i].metres, test::SameBits(single.closure[0].metres));
}

// A call for a single position doesn't use the lanes.
TEST_P(Lanes, ReturnAllThatCallsForSinglePositionsReturn) {
  for (unsigned const seed : {0U, 5U, 43U}) {
    for (char const* const id : test::BANDS) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", band " + id);
      kes::Band const band = test::randomStrip(seed).band(id);
      auto const given = mixed(imagePositions(band, seed), hostile(), seed);
      Outputs down(given.size());
      kes::ToGroundOptions options = test::atHeight(HEIGHT);
      options.outputs = down.spans();
      auto const ground = test::toGround(band, given, options);
      Outputs up(given.size());
      kes::ToImageOptions back;
      back.outputs = up.spans();
      auto const image = test::toImage(band, ground.points, back);
      for (std::size_t i = 0; i < given.size(); ++i) {
        SCOPED_TRACE(i);
        Outputs single(1);
        options.outputs = single.spans();
        auto const onGround = band.toGround(given[i], options);
        ASSERT_EQ(ground.status[i], onGround.status);
        EXPECT_THAT(ground.points[i].x, test::SameBits(onGround.position.x));
        EXPECT_THAT(ground.points[i].y, test::SameBits(onGround.position.y));
        EXPECT_THAT(ground.points[i].z, test::SameBits(onGround.position.z));
        expectSame(single, down, i);
        back.outputs = single.spans();
        auto const inImage = band.toImage(ground.points[i], back);
        ASSERT_EQ(image.status[i], inImage.status);
        EXPECT_THAT(image.points[i].x, test::SameBits(inImage.position.x));
        EXPECT_THAT(image.points[i].y, test::SameBits(inImage.position.y));
        expectSame(single, up, i);
        if (HasFailure()) {
          return;
        }
      }
    }
  }
}

// Each of 100 lines then takes more than 50 records of the orientation.
TEST(LaneTables, AreEmptyWhereTimesGoBackAndForth) {
  for (bool const isSteady : {true, false}) {
    test::TempFolder const folder;
    test::SmallStrip small;
    small.sensorId = isSteady ? "SteadyTimes" : "JaggedTimes";
    kes::StripOptions options;
    options.calibrations = {folder / "calibration"};
    std::string const file = small.write(folder);
    test::Bytes times;
    for (int line = 0; line < small.lines; ++line) {
      double const jump = line % 2 == 0 ? -0.9 : 1.9;
      times << test::SmallStrip::startTime + (isSteady ? small.cycleTime * line : jump);
    }
    folder.file("PANN00A.ctg", times.str());
    kes::Strip const strip(file, options);
    EXPECT_EQ(Prepared(strip, "PANN00A").tables.isEmpty(), !isSteady);
  }
}

INSTANTIATE_TEST_SUITE_P(Sets, Lanes, testing::ValuesIn(test::instructionSets()),
                         [](auto const& set) { return std::string(set.param.name); });

}  // namespace
