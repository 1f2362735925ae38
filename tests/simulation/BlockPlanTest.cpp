// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <simulation/BlockPlan.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <set>

namespace {

using simulation::BlockPlan;
using simulation::FlightPlan;

// 0.0627 m focal length and pixels of 6.5 µm: from 1929.23 m up a pixel is 0.2 m wide, and 1000 samples are 200 m.
BlockPlan planOf(int strips, int crossStrips, double heading) {
  BlockPlan plan;
  plan.flight.samples = 1000;
  plan.flight.lines = 3000;
  plan.flight.height = 0.2 * 0.0627 / 6.5e-6;
  plan.flight.heading = heading;
  plan.strips = strips;
  plan.crossStrips = crossStrips;
  return plan;
}

void expectPlace(FlightPlan const& plan, char const* name, double east, double north, double heading) {
  EXPECT_EQ(plan.name, name);
  EXPECT_NEAR(plan.east, east, 1e-3) << name;
  EXPECT_NEAR(plan.north, north, 1e-3) << name;
  EXPECT_NEAR(plan.heading, heading, 1e-9) << name;
}

// To the north, the first strip is the one in the west. Strips 140 m apart share 60 m, 30 per cent.
TEST(BlockPlan, ParallelStripsLieSideBySideAndAreFlownToAndFro) {
  auto const flights = planOf(3, 0, 0.0).flights();
  ASSERT_EQ(flights.size(), 3U);
  expectPlace(flights[0], "Line1", -140.0, 0.0, 0.0);
  expectPlace(flights[1], "Line2", 0.0, 0.0, 180.0);
  expectPlace(flights[2], "Line3", 140.0, 0.0, 0.0);
}

// To the east, left is north.
TEST(BlockPlan, FollowsItsHeading) {
  auto const flights = planOf(2, 0, 90.0).flights();
  expectPlace(flights[0], "Line1", 0.0, 70.0, 90.0);
  expectPlace(flights[1], "Line2", 0.0, -70.0, 270.0);
}

// The block is 600 m long and 340 m wide: cross strips lie 150 m before and after its middle and have 1700 lines.
TEST(BlockPlan, CrossStripsGoOverItsWidth) {
  BlockPlan const plan = planOf(2, 2, 300.0);
  EXPECT_NEAR(plan.width(), 340.0, 1e-3);
  auto const flights = plan.flights();
  ASSERT_EQ(flights.size(), 4U);
  double const east = 150.0 * std::sin(300.0 * 0.017453292519943295);
  expectPlace(flights[2], "Cross1", -east, -75.0, 30.0);
  expectPlace(flights[3], "Cross2", east, 75.0, 210.0);
  EXPECT_NEAR(flights[2].lines, 1700, 1);
  EXPECT_EQ(flights[1].lines, 3000);
}

TEST(BlockPlan, ShortestCrossStripCanBeFlown) {
  BlockPlan plan = planOf(1, 1, 0.0);
  plan.flight.samples = 100;
  EXPECT_EQ(plan.flights()[1].lines, 200);
  expectPlace(plan.flights()[1], "Cross1", 0.0, 0.0, 90.0);
}

TEST(BlockPlan, OverlapMovesStripsTogether) {
  BlockPlan plan = planOf(2, 0, 0.0);
  plan.overlap = 60.0;
  EXPECT_NEAR(plan.flights()[1].east - plan.flights()[0].east, 80.0, 1e-3);
}

TEST(BlockPlan, LiesWhereTheFlightIs) {
  BlockPlan plan = planOf(2, 1, 0.0);
  plan.flight.east = 1000.0;
  plan.flight.north = -500.0;
  expectPlace(plan.flights()[0], "Line1", 930.0, -500.0, 0.0);
  expectPlace(plan.flights()[2], "Cross1", 1000.0, -500.0, 90.0);
}

// 3000 lines at 0.2 m take 8.57 s at 70 m/s, and an eighth more where rates change: 10 s, and 120 s to turn.
TEST(BlockPlan, StripsAreFlownInTurn) {
  auto const flights = planOf(2, 1, 0.0).flights();
  EXPECT_EQ(flights[1].startTime - flights[0].startTime, 130.0);
  EXPECT_EQ(flights[2].startTime - flights[1].startTime, 130.0);
}

TEST(BlockPlan, StripsHaveSeedsOfTheirOwn) {
  BlockPlan plan = planOf(20, 10, 0.0);
  std::set<std::uint64_t> seeds;
  for (std::uint64_t const seed : {1U, 2U}) {
    plan.flight.seed = seed;
    for (FlightPlan const& flight : plan.flights()) {
      seeds.insert(flight.seed);
    }
  }
  EXPECT_EQ(seeds.size(), 60U);
}

template <class Change>
std::string failure(Change const& change) {
  BlockPlan plan = planOf(2, 1, 0.0);
  change(plan);
  return test::messageOf([&] { plan.validate(); });
}

TEST(BlockPlan, RefusesWhatCantBeFlown) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_NO_THROW(planOf(2, 1, 0.0).validate());
  for (int const strips : {0, 51}) {
    EXPECT_EQ(failure([&](BlockPlan& plan) { plan.strips = strips; }), "the number of strips must be from 1 to 50");
  }
  for (int const strips : {-1, 51}) {
    EXPECT_EQ(failure([&](BlockPlan& plan) { plan.crossStrips = strips; }),
              "the number of cross strips must be from 0 to 50");
  }
  for (double const overlap : {-0.1, 90.1, nan}) {
    EXPECT_EQ(failure([&](BlockPlan& plan) { plan.overlap = overlap; }), "the overlap must be from 0 to 90 per cent");
  }
  for (int const points : {0, 1001}) {
    EXPECT_EQ(failure([&](BlockPlan& plan) { plan.points = points; }),
              "the number of ground points must be from 1 to 1000");
  }
  for (double const noise : {-0.1, 5.1, nan}) {
    EXPECT_EQ(failure([&](BlockPlan& plan) { plan.noise = noise; }), "the noise must be from 0 to 5 pixels");
  }
  EXPECT_EQ(failure([&](BlockPlan& plan) { plan.flight.lines = 199; }),
            "the number of lines must be from 200 to 200000");
  EXPECT_EQ(failure([&](BlockPlan& plan) {
              plan.flight.samples = 60000;
              plan.strips = 10;
            }),
            "the block is wider than the longest cross strip");
}

// What a plan of three strips with control points has wrong.
std::string fault(std::function<void(BlockPlan&)> const& change) {
  BlockPlan plan = planOf(2, 1, 0.0);
  plan.flight.errors.emplace();
  plan.control = 4;
  change(plan);
  return test::messageOf([&] { plan.validate(); });
}

TEST(BlockPlan, RefusesPointsThatCantBePlaced) {
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.control = -1; }), "the number of control points must be from 0 to 1000");
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.check = 1001; }), "the number of check points must be from 0 to 1000");
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.surveySigma = 10.5; }),
            "the sigma of surveyed points must be from 0 to 10 metres");
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.wrongControl = -1.0; }),
            "a control point may be wrong by 0 to 1000 metres");
  EXPECT_EQ(fault([](BlockPlan& plan) {
              plan.control = 0;
              plan.wrongControl = 1.0;
            }),
            "without a control point, none can be wrong");
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.ties = 1001.0; }),
            "the number of tie points a second must be from 0 to 1000");
  EXPECT_EQ(fault([](BlockPlan& plan) { plan.blunders = 51.0; }),
            "the share of blunders must be from 0 to 50 per cent");
  EXPECT_EQ(fault([](BlockPlan& plan) {
              plan.flight.errors->timeOffset.values = {0.0, 0.0};
            }),
            "the time offset needs 1 or 3 values, not 2");
  EXPECT_EQ(fault([](BlockPlan& plan) {
              plan.flight.errors.reset();
              plan.flight.odfVersion = "1.2";
            }),
            "errors to recover can't be written as orientation files of bands");
}

}  // namespace
