// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AnyOrientation.h"
#include "RandomFlight.h"
#include "StripAFlight.h"
#include "model/StripBand.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

// The search for lines in four lanes, below the model: its two kinds of lanes against each other, and its look-ups
// counted.

namespace {

using sensor::FourLaneConstants;
using sensor::FourLaneOrientation;
using test::RandomFlight;
using test::Table;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

int lookUps(FourLaneConstants const& constants, test::AnyOrientation const& orientations,
            std::vector<geo::XYZPoint> const& ground) {
  int count = 0;
  std::vector<geo::XYPoint> image(ground.size());
  auto const counted = [&](float line, bool headingOnly, unsigned lane, FourLaneOrientation& lanes) {
    ++count;
    orientations(line, headingOnly, lane, lanes);
  };
  test::solveInPlainLanes(constants, counted, ground, image);
  return count;
}

std::vector<geo::XYPoint> solved(RandomFlight const& flight, std::vector<geo::XYZPoint> const& ground) {
  std::vector<geo::XYPoint> image(ground.size());
  test::solveInPlainLanes(flight.constants(), flight, ground, image);
  return image;
}

bool sameBits(std::vector<geo::XYPoint> const& a, std::vector<geo::XYPoint> const& b) {
  auto const same = [](double x, double y) {
    return (std::isnan(x) && std::isnan(y)) || test::bitsOf(x) == test::bitsOf(y);
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](geo::XYPoint const& p, geo::XYPoint const& q) { return same(p.x, q.x) && same(p.y, q.y); });
}

class EveryFlight : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(FourLaneSolver, EveryFlight, testing::Range(1U, 41U));

TEST_P(EveryFlight, BothKindsOfLanesGiveTheSameBits) {
  RandomFlight const flight(GetParam());
  for (std::vector<geo::XYZPoint> ground : {flight.grid(), flight.scatter(), flight.hostilePoints()}) {
    ground.resize(ground.size() / 4 * 4);
    std::vector<geo::XYPoint> sse(ground.size());
    test::solveInSseLanes(flight.constants(), flight, ground, sse);
    EXPECT_TRUE(sameBits(solved(flight, ground), sse)) << "seed " << GetParam();
  }
}

// Where a flight sees a position at a line, the search comes back to the line, from wherever it starts.
TEST_P(EveryFlight, PositionsComeBackToTheirLines) {
  RandomFlight const flight(GetParam());
  std::vector<geo::XYPoint> expected;
  std::vector<geo::XYZPoint> ground;
  std::mt19937 random(GetParam());
  std::uniform_real_distribution<double> unit(0.02, 0.98);
  for (int i = 0; i < 400; ++i) {
    expected.emplace_back(unit(random) * flight.lastSample(), unit(random) * flight.lines());
    ground.push_back(flight.groundOf(expected.back()));
  }
  std::vector<geo::XYPoint> const image = solved(flight, ground);
  for (std::size_t i = 0; i < image.size(); ++i) {
    EXPECT_NEAR(image[i].x, expected[i].x, 0.1);
    EXPECT_NEAR(image[i].y, expected[i].y, 0.1);
  }
}

TEST(FourLaneSolver, GroupThatStaysWithinTheToleranceNeedsNoLookUp) {
  RandomFlight const flight(7);
  geo::XYZPoint const point = flight.groundOf({20.0, 30.0});
  std::vector<geo::XYZPoint> const once(4, point);
  std::vector<geo::XYZPoint> const often(400, point);
  EXPECT_EQ(lookUps(flight.constants(), flight, often), lookUps(flight.constants(), flight, once));
}

// Four look-ups of headings and four behind them; then those of the lane alone whose position is elsewhere.
TEST(FourLaneSolver, OnlyLanesThatMoveAreLookedUp) {
  RandomFlight const flight(8);
  std::vector<geo::XYZPoint> ground(8, flight.groundOf({20.0, 30.0}));
  int const before = lookUps(flight.constants(), flight, {ground.begin(), ground.begin() + 4});
  ground[6] = flight.groundOf({25.0, 31.0});
  int const added = lookUps(flight.constants(), flight, ground) - before;
  EXPECT_GE(added, 1);
  EXPECT_LT(added, 4);
  EXPECT_GE(before, 8);
}

TEST(FourLaneSolver, IdenticalPositionsHaveIdenticalResults) {
  RandomFlight const flight(9);
  std::vector<geo::XYZPoint> const ground(4, flight.groundOf({11.0, 90.0}));
  std::vector<geo::XYPoint> const image = solved(flight, ground);
  EXPECT_TRUE(sameBits(image, std::vector<geo::XYPoint>(4, image[0])));
}

// A lane that was led astray begins anew; its neighbours never knew.
TEST(FourLaneSolver, PositionWithoutASolutionLeavesTheOthersAsTheyAre) {
  RandomFlight const flight(10);
  std::vector<geo::XYZPoint> good;
  good.reserve(16);
  for (int i = 0; i < 16; ++i) {
    good.push_back(flight.groundOf({5.0 + 2.0 * i, 20.0 + 3.0 * i}));
  }
  for (geo::XYZPoint const& bad :
       {geo::XYZPoint(nan, 0, 0), geo::XYZPoint(0, infinity, 0), geo::XYZPoint(1e300, 1e300, 1e300)}) {
    std::vector<geo::XYZPoint> ground = good;
    ground[5] = bad;
    std::vector<geo::XYPoint> const image = solved(flight, ground);
    std::vector<geo::XYPoint> const undisturbed = solved(flight, good);
    for (std::size_t i = 0; i < image.size(); ++i) {
      if (i != 5) {
        EXPECT_NEAR(image[i].x, undisturbed[i].x, 0.1) << i;
        EXPECT_NEAR(image[i].y, undisturbed[i].y, 0.1) << i;
      }
    }
  }
}

// A level flight, whose line l is over x = l, with a sensor line of three samples and a focal length of 1 at a
// height of 1024. A line is 2^-10 long in the focal plane at height 0 and 2^-9 at 512, so all steps are exact. Lines
// beyond its end have no orientation, or all of them that of line 0: from there every step leads further away.
class FlightThatEnds {
public:
  explicit FlightThatEnds(float end = 1e6F, bool staysAtLineZero = false)
      : mEnd(end), mStaysAtLineZero(staysAtLineZero) {}

  static FourLaneConstants constants() {
    static std::vector<float> const x{0.0F, 0.0F, 0.0F};
    static std::vector<float> const y{-1.0F, 0.0F, 1.0F};
    return {x.data(), y.data(), 2, 0.0F, 1.0F, {1.0F / 1024.0F, 0.0F, 1024.0F, 1.0F}, 100.0F};
  }

  void operator()(float line, bool /*headingOnly*/, unsigned lane, FourLaneOrientation& lanes) const {
    bool const isFar = std::fabs(line) > mEnd;
    sensor::EOP eop = sensor::unknownOrientation();
    if (!isFar || mStaysAtLineZero) {
      sensor::opkToQuaternion(0.0, 0.0, 0.0, eop);
    }
    eop.x = isFar ? 0.0 : static_cast<double>(line);
    eop.z = 1024.0;
    lanes.set(lane, eop, 0.0F);
  }

private:
  float mEnd;
  bool mStaysAtLineZero;
};

// A group of which one lane has a position of its own; the first group leads this lane astray.
std::vector<geo::XYZPoint> groupsAfterALostOne(std::vector<geo::XYZPoint> const& positions) {
  std::vector<geo::XYZPoint> ground(4 * (positions.size() + 1), geo::XYZPoint(120.0, 0.0, 0.0));
  ground[1].x = 1e9;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    ground[4 * (i + 1) + 1] = positions[i];
  }
  return ground;
}

// From the middle each search takes a heading and a line in four lanes. The lost position begins anew, in vain, and
// so does the next one of its lane. From then on the lane has all that it was found with, the scale of its own
// height included: where it stays no look-up is needed, and one where it moves.
TEST(FourLaneSolver, LaneThatBeganAnewGoesOnWithItsOwnLineOrientationAndScale) {
  FlightThatEnds const flight;
  geo::XYZPoint const found(150.0, 0.0, 512.0);
  geo::XYZPoint const further(190.0, 0.0, 512.0);
  auto const count = [&](std::vector<geo::XYZPoint> const& positions) {
    return lookUps(FlightThatEnds::constants(), flight, groupsAfterALostOne(positions));
  };
  EXPECT_EQ(count({}), 8 + 8);
  EXPECT_EQ(count({found}), 8 + 8 + 8);
  EXPECT_EQ(count({found, found, found}), 8 + 8 + 8);
  EXPECT_EQ(count({found, found, further, further}), 8 + 8 + 8 + 1);
}

// 250 passes, of which the first two look up all four lanes, and as many in each lane that begins anew. The next
// position of the lane goes on for another 250 in vain. The last step of those is no longer due once the lane began
// anew.
TEST(FourLaneSolver, LaneThatBeganAnewAtTheLimitOfPassesHasNoStepLeft) {
  FlightThatEnds const flight(1e6F, /*staysAtLineZero*/ true);
  geo::XYZPoint const found(150.0, 0.0, 512.0);
  auto const count = [&](std::vector<geo::XYZPoint> const& positions) {
    return lookUps(FlightThatEnds::constants(), flight, groupsAfterALostOne(positions));
  };
  int const lost = 2 * 4 + 248 + 4 * 250;
  EXPECT_EQ(count({}), lost);
  EXPECT_EQ(count({found}), lost + 250 + 8);
  EXPECT_EQ(count({found, found}), lost + 250 + 8);
}

// 2^24 is the first line from which single precision no longer counts, on either side: a position there begins anew,
// which costs another heading and another line in four lanes, although no step is left. (A line less by 4 is still
// exactly a step away from the middle.)
TEST(FourLaneSolver, LineThatCantBeCountedIsNoSolution) {
  FlightThatEnds const endless(std::numeric_limits<float>::infinity());
  auto const count = [&](double line) {
    std::vector<geo::XYZPoint> ground(4, geo::XYZPoint(120.0, 0.0, 0.0));
    ground[2].x = line;
    return lookUps(FlightThatEnds::constants(), endless, ground);
  };
  double const uncountable = std::ldexp(1.0, 24);
  for (double const side : {1.0, -1.0}) {
    EXPECT_EQ(count(side * (uncountable - 4.0)), 8) << side;
    EXPECT_GT(count(side * uncountable), 8) << side;
  }
}

TEST(FourLaneSolver, LaneThatBeganAnewIsSolvedAloneInBothKindsOfLanes) {
  FlightThatEnds const flight;
  std::vector<geo::XYZPoint> const ground =
      groupsAfterALostOne({{150.0, 0.0, 512.0}, {150.0, 0.0, 512.0}, {190.0, 0.0, 512.0}});
  for (auto* const solve : {test::solveInPlainLanes, test::solveInSseLanes}) {
    std::vector<geo::XYPoint> image(ground.size());
    solve(FlightThatEnds::constants(), flight, ground, image);
    for (std::size_t i = 0; i < image.size(); ++i) {
      if (i != 1) {
        EXPECT_EQ(image[i].x, 1.0) << i;
        EXPECT_EQ(image[i].y, ground[i].x) << i;
      }
    }
  }
}

// A sensor line whose middle lies 2^-6 ahead of its ends, 16 lines of 2^-10. Half way to the middle it is 8 lines
// ahead, so that the line which sees a position is 8 lines before it; beyond the ends it is where the ends are.
TEST(FourLaneSolver, BowedSensorLineIsFollowedFromSampleToSample) {
  static std::vector<float> const x{0.0F, 1.0F / 64.0F, 0.0F};
  FlightThatEnds const flight;
  FourLaneConstants constants = FlightThatEnds::constants();
  constants.x = x.data();
  std::vector<geo::XYZPoint> const ground{
      {150.0, -1536.0, 0.0}, {150.0, -512.0, 0.0}, {150.0, 0.0, 0.0}, {150.0, 256.0, 0.0}};
  for (auto* const solve : {test::solveInPlainLanes, test::solveInSseLanes}) {
    std::vector<geo::XYPoint> image(4);
    solve(constants, flight, ground, image);
    for (auto const& [lane, sample, line] :
         {std::tuple(0U, -0.5, 150.0), {1U, 0.5, 142.0}, {2U, 1.0, 134.0}, {3U, 1.25, 138.0}}) {
      EXPECT_EQ(image[lane].x, sample) << lane;
      EXPECT_EQ(image[lane].y, line) << lane;
    }
  }
}

// The independent flight states how many look-ups each of its runs takes, together with the one of each position that
// it took back to the ground. Where a sine's last bit decides on a pass, it is one more or less of each lane.
TEST(FourLaneSolver, LooksUpAsOftenAsTheIndependentFlight) {
  nlohmann::json const& strip = test::stripA::expected().at("strips").at(0);
  auto const model = test::stripAModel(strip);
  int runs = 0;
  int equal = 0;
  for (nlohmann::json const& band : strip.at("bands")) {
    sensor::StripBand const b(*model->modelData(), band.at("index").get<int>());
    for (nlohmann::json const& run : band.at("lsrToImageSSE_runs")) {
      int const wayBack = run.contains("closure") ? run.at("closure").at("points").get<int>() : 0;
      int const expected = run.at("orientation_calls").get<int>() - wayBack;
      std::vector<geo::XYZPoint> const ground = test::groundPoints(Table(run.at("points")));
      int const calls = lookUps(sensor::fourLaneConstants(b), sensor::LineOrientations(b), ground);
      EXPECT_NEAR(calls, expected, 4) << band.at("band") << run.at("run");
      ++runs;
      equal += calls == expected;
    }
  }
  EXPECT_GE(equal, runs * 9 / 10);
}

}  // namespace
