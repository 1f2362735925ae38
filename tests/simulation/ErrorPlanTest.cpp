// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <simulation/ErrorPlan.h>
#include <simulation/FlightPlan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

using simulation::ErrorPlan;
using simulation::ErrorSize;
using simulation::errorSizeOf;
using testing::ElementsAre;

TEST(ErrorSize, IsGivenOrDrawnByItsText) {
  ErrorSize const given = errorSizeOf("1e-4,-0.5,2");
  EXPECT_THAT(given.values, ElementsAre(1e-4, -0.5, 2.0));
  EXPECT_FALSE(given.isDrawn);
  ErrorSize const drawn = errorSizeOf("sigma=0.25");
  EXPECT_THAT(drawn.values, ElementsAre(0.25));
  EXPECT_TRUE(drawn.isDrawn);
  EXPECT_THAT(errorSizeOf("sigma=1,2").values, ElementsAre(1.0, 2.0));
  EXPECT_TRUE(errorSizeOf("").isNone());
}

TEST(ErrorSize, RefusesWhatIsNoListOfNumbers) {
  for (char const* text : {"x", "1,", ",1", "1;2", "sigma=", "sigma=1,", "sigma:1", "nan", "inf", "1e999", " 1"}) {
    EXPECT_MESSAGE(errorSizeOf(text),
                   std::string(text) +
                       " is no size of an error: it needs numbers, or sigma= and numbers, with commas between them");
  }
}

// What a plan of so many strips has wrong.
std::string fault(std::function<void(ErrorPlan&)> const& change, std::size_t strips = 1) {
  ErrorPlan plan;
  change(plan);
  return test::messageOf([&] { plan.validate(strips); });
}

TEST(ErrorPlan, NeedsAsManyValuesAsThereAreComponents) {
  EXPECT_EQ(fault([](ErrorPlan& plan) { plan.boresight.values = {0.0, 0.0}; }), "the boresight needs 3 values, not 2");
  EXPECT_EQ(fault([](ErrorPlan& plan) {
              plan.boresight = {{0.0, 0.0}, true};
            }),
            "the boresight needs 1 or 3 values, not 2");
  EXPECT_EQ(fault([](ErrorPlan& plan) {
              plan.focalLength.values = {0.0, 0.0};
            }),
            "the focal length needs 1 value, not 2");
  EXPECT_EQ(fault([](ErrorPlan& plan) { plan.lineShape.values = {0.0}; }),
            "the line shape needs 5 or 50 values, not 1");
  EXPECT_EQ(fault(
                [](ErrorPlan& plan) {
                  plan.gnssShift.values = {0.0, 0.0, 0.0, 0.0};
                },
                3),
            "the gnss shift needs 3 or 9 values, not 4");
}

TEST(ErrorPlan, NeedsErrorsThatCanBeRecorded) {
  EXPECT_EQ(fault([](ErrorPlan& plan) { plan.timeOffset.values = {0.11}; }), "the time offset must be within 0.1");
  EXPECT_EQ(fault([](ErrorPlan& plan) {
              plan.leverArm.values = {0.0, -10.5, 0.0};
            }),
            "the lever arm must be within 10");
  double const nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(fault([&](ErrorPlan& plan) { plan.focalLength.values = {nan}; }), "the focal length must be within 0.001");
  EXPECT_EQ(fault([](ErrorPlan& plan) {
              plan.gnssDrift = {{-0.01}, true};
            }),
            "the gnss drift must be drawn by a sigma from 0 to 0.1");
}

TEST(ErrorPlan, NeedsAKnownClassOfNavigationSystems) {
  ErrorPlan plan;
  plan.navigation = "magic";
  EXPECT_THAT(test::messageOf<std::invalid_argument>([&] { plan.validate(1); }),
              testing::StartsWith("Unknown class of navigation systems: magic (known: "));
  plan.navigation = "tactical";
  EXPECT_NO_THROW(plan.validate(1));
}

TEST(ErrorPlan, ValuesOfEachStripGoToThatStrip) {
  ErrorPlan plan;
  plan.timeOffset.values = {0.001, 0.002, 0.003};
  plan.gnssShift.values = {1.0, 2.0, 3.0};
  plan.gnssDrift.values = {0, 1, 2, 3, 4, 5, 6, 7, 8};
  plan.boresight.values = {1e-3, 2e-3, 3e-3};
  ErrorPlan const own = plan.ofStrip(1, 3);
  EXPECT_THAT(own.timeOffset.values, ElementsAre(0.002));
  EXPECT_THAT(own.gnssShift.values, ElementsAre(1.0, 2.0, 3.0));
  EXPECT_THAT(own.gnssDrift.values, ElementsAre(3.0, 4.0, 5.0));
  EXPECT_THAT(own.boresight.values, ElementsAre(1e-3, 2e-3, 3e-3));
}

// Three standard deviations, on a block of three strips, aren't an error for each of these.
TEST(ErrorPlan, StandardDeviationsHoldForAllStrips) {
  ErrorPlan plan;
  plan.gnssShift = {{0.1, 0.2, 0.3}, true};
  EXPECT_THAT(plan.ofStrip(2, 3).gnssShift.values, ElementsAre(0.1, 0.2, 0.3));
}

TEST(FlightPlan, ErrorsToRecoverHaveNoOrientationFilesOfBands) {
  simulation::FlightPlan plan;
  plan.errors.emplace();
  plan.odfVersion = simulation::FlightPlan::currentOdf;
  EXPECT_MESSAGE(plan.validate(), "errors to recover can't be written as orientation files of bands");
}

// Pixels of 6.5 micrometres, 62.7 mm: 0.2 m from 1929.23 m up.
TEST(FlightPlan, LengthBecomesLines) {
  simulation::FlightPlan plan;
  plan.height = 0.2 * 0.0627 / 6.5e-6;
  plan.setLength(1999.9);
  EXPECT_EQ(plan.lines, 10000);
  plan.setLength(1e300);
  EXPECT_MESSAGE(plan.validate(), "the number of lines must be from 200 to 200000");
}

}  // namespace
