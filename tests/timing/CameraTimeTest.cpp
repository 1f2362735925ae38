// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CtgFiles.h"
#include "support/Matchers.h"

#include <sensor/CameraTime.h>

#include <cmath>
#include <limits>

namespace {

using sensor::CameraTime;
using sensor::seconds;
using test::SameBits;

// Uneven intervals with a mean of 0.5 s: ten, 0.25, 0.75, 0.5 seconds.
std::vector<double> const uneven{10.0, 10.25, 11.0, 11.5};
constexpr double meanCycle = 0.5;

class CameraTimeOf : public testing::Test {
protected:
  CameraTime uniform(std::vector<double> const& times) const {
    return CameraTime(mFolder.file("a.ctg", test::ctgBytes(times)));
  }
  CameraTime changing() const {
    mFolder.file("b.ctgl", test::ctglBytes(test::changingRates));
    return CameraTime(mFolder.file("b.ctg", test::ctgBytes(test::changingTimes)));
  }
  double timeOf(CameraTime const& time, float line) const { return time.gpsTime(line).value(); }

  test::TempFolder mFolder;
};

TEST_F(CameraTimeOf, WholeLineHasItsTableTime) {
  CameraTime const time = uniform(uneven);
  for (std::size_t i = 0; i < uneven.size(); ++i) {
    EXPECT_EQ(timeOf(time, static_cast<float>(i)), uneven[i]);
  }
}

TEST_F(CameraTimeOf, FractionalLineLiesBetweenItsNeighbours) {
  CameraTime const time = uniform(uneven);
  EXPECT_EQ(timeOf(time, 0.5F), 10.0 + 0.25 * 0.5);
  EXPECT_EQ(timeOf(time, 1.25F), 10.25 + 0.75 * 0.25);
}

TEST_F(CameraTimeOf, LineBehindTheEndGoesOnAtLastCycleTime) {
  CameraTime const time = uniform(uneven);
  EXPECT_EQ(timeOf(time, 3.5F), 11.5 + 0.5 * meanCycle);
  EXPECT_EQ(timeOf(time, 103.0F), 11.5 + 100 * meanCycle);
}

TEST_F(CameraTimeOf, LineAboveMinusOneGoesBackwardAtTheFirstInterval) {
  EXPECT_EQ(timeOf(uniform(uneven), -0.5F), 10.0 - 0.5 * 0.25);
}

TEST_F(CameraTimeOf, LineBelowMinusOneGoesBackwardAtFirstCycleTime) {
  EXPECT_EQ(timeOf(uniform(uneven), -1.5F), 10.0 - 1.5 * meanCycle);
  EXPECT_EQ(timeOf(uniform(uneven), -1.0F), 10.0 - meanCycle);
}

TEST_F(CameraTimeOf, LineOfAUniformImageFollowsTheMeanRateAndNotTheTable) {
  CameraTime const time = uniform(uneven);
  EXPECT_THAT(time.line(seconds(11.0)), SameBits(2.0F));
  EXPECT_THAT(time.line(seconds(10.25)), SameBits(0.5F));
  EXPECT_THAT(time.line(seconds(8.0)), SameBits(-4.0F));
  EXPECT_NE(timeOf(time, time.line(seconds(10.25))), 10.25);
}

// A time at which the quotient lies half-way between two floats; the product with the reciprocal is off by a bit, and
// goes to the other one.
TEST_F(CameraTimeOf, LineIsAQuotientByTheCycleTime) {
  double const t = 0.0019998812079429626;
  auto const expected = static_cast<float>(t / 0.001);
  ASSERT_NE(static_cast<float>(t * (1.0 / 0.001)), expected);
  EXPECT_THAT(uniform({0.0, 0.001}).line(seconds(t)), SameBits(expected));
  mFolder.file("c.ctgl", test::ctglBytes({{0.0, 1000, 0}}));
  EXPECT_THAT(CameraTime(mFolder.file("c.ctg", test::ctgBytes({0.0}))).line(seconds(t)), SameBits(expected));
}

TEST_F(CameraTimeOf, CycleTimeOfAUniformImageIsTheMean) {
  CameraTime const time = uniform(uneven);
  EXPECT_FALSE(time.isNonUniformCT());
  EXPECT_EQ(time.size(), 4U);
  EXPECT_EQ(time.cycleTime(2.0F).value(), meanCycle);
  EXPECT_TRUE(time.cycleTimeSet().empty());
  EXPECT_TRUE(time.getInternalCtglRepresentation().empty());
}

TEST_F(CameraTimeOf, OneLineHasNoCycleTime) {
  CameraTime const time = uniform({5.0});
  EXPECT_TRUE(std::isnan(time.cycleTime(0.0F).value()));
  EXPECT_TRUE(std::isnan(time.line(seconds(5.5))));
}

TEST_F(CameraTimeOf, ChangingRateHasItsChanges) {
  CameraTime const time = changing();
  EXPECT_TRUE(time.isNonUniformCT());
  ASSERT_EQ(time.cycleTimeSet().size(), 2U);
  EXPECT_EQ(time.cycleTimeSet()[0].value(), 250000.0 * 1e-6);
  EXPECT_EQ(time.cycleTimeSet()[1].value(), 500000.0 * 1e-6);
  auto const changes = time.getInternalCtglRepresentation();
  EXPECT_EQ(changes.at(101.0).line, 4U);
}

TEST_F(CameraTimeOf, ChangingRateExtrapolatesAtTheRatesOfItsEnds) {
  CameraTime const time = changing();
  EXPECT_EQ(timeOf(time, -2.0F), 100.0 - 2 * 0.25);
  EXPECT_EQ(timeOf(time, 10.0F), 103.0 + 2 * 0.5);
}

TEST_F(CameraTimeOf, LineOfAChangingRateInvertsItsTime) {
  CameraTime const time = changing();
  for (float const line : {0.0F, 1.5F, 3.75F, 4.0F, 4.5F, 7.25F, 8.0F, 9.5F}) {
    EXPECT_NEAR(time.line(time.gpsTime(line)), line, 1e-4F / 0.25F) << line;
  }
}

TEST_F(CameraTimeOf, TimeBeforeTheFirstChangeGivesItsEstimateUnrefined) {
  EXPECT_THAT(changing().line(seconds(99.0)), SameBits(-4.0F));
}

TEST_F(CameraTimeOf, TimeEqualToAChangeIsGovernedByIt) {
  EXPECT_THAT(changing().line(seconds(101.0)), SameBits(4.0F));
}

// The change says line 6 where the table has the time at line 4: ten rounds of refinement find it all the same.
TEST_F(CameraTimeOf, EstimateThatIsOffIsRefinedOnTheTable) {
  mFolder.file("c.ctgl", test::ctglBytes({{100.0, 250000, 0}, {101.0, 500000, 6}}));
  CameraTime const time(mFolder.file("c.ctg", test::ctgBytes(test::changingTimes)));
  EXPECT_NEAR(time.line(seconds(101.25)), 4.5F, 2e-4F);
}

TEST_F(CameraTimeOf, CycleTimeHoldsUntilTheLineInFrontOfAChangeAndThenRamps) {
  CameraTime const time = changing();
  EXPECT_EQ(time.cycleTime(1.0F).value(), 0.25);
  EXPECT_EQ(time.cycleTime(3.0F).value(), 0.25);
  // Half a line in front of the change both rates have the same weight.
  EXPECT_EQ(time.cycleTime(3.5F).value(), 0.5 * 0.25 + 0.5 * 0.5);
  EXPECT_EQ(time.cycleTime(3.75F).value(), 0.25 * 0.25 + 0.75 * 0.5);
  EXPECT_EQ(time.cycleTime(4.0F).value(), 0.5);
  EXPECT_EQ(time.cycleTime(6.0F).value(), 0.5);
  EXPECT_EQ(time.cycleTime(-3.0F).value(), 0.25);
}

TEST_F(CameraTimeOf, LinesAndTimesThatAreNoNumbersGiveNone) {
  float const nan = std::numeric_limits<float>::quiet_NaN();
  float const infinity = std::numeric_limits<float>::infinity();
  for (CameraTime const& time : {uniform(uneven), changing()}) {
    EXPECT_TRUE(std::isnan(timeOf(time, nan)));
    EXPECT_TRUE(std::isnan(time.line(seconds(static_cast<double>(nan)))));
    EXPECT_EQ(timeOf(time, infinity), std::numeric_limits<double>::infinity());
    EXPECT_EQ(timeOf(time, -infinity), -std::numeric_limits<double>::infinity());
    time.cycleTime(nan);
    time.cycleTime(infinity);
    EXPECT_EQ(time.line(seconds(std::numeric_limits<double>::infinity())), infinity);
  }
}

TEST_F(CameraTimeOf, TableWithoutLinesGivesNoNumbers) {
  CameraTime const time;
  EXPECT_TRUE(std::isnan(timeOf(time, 0.0F)));
  EXPECT_TRUE(std::isnan(time.line(seconds(0.0))));
  EXPECT_EQ(time.size(), 0U);
}

TEST_F(CameraTimeOf, FewLinesWithChangesGiveTheEstimate) {
  mFolder.file("d.ctgl", test::ctglBytes(test::changingRates));
  CameraTime const time(mFolder.file("d.ctg", test::ctgBytes({100.0})));
  EXPECT_THAT(time.line(seconds(100.5)), SameBits(2.0F));
}

// The only line is the last one: from it on the last rate counts, before it the first one.
TEST_F(CameraTimeOf, SingleLineWithChangesGoesOnAtTheLastRate) {
  mFolder.file("d.ctgl", test::ctglBytes(test::changingRates));
  CameraTime const time(mFolder.file("d.ctg", test::ctgBytes({100.0})));
  EXPECT_EQ(timeOf(time, 0.5F), 100.0 + 0.5 * 0.5);
  EXPECT_EQ(timeOf(time, -1.5F), 100.0 - 1.5 * 0.25);
}

TEST_F(CameraTimeOf, CopyIsAValueOfItsOwn) {
  CameraTime const source = changing();
  CameraTime copy = source;
  copy.values()[0] = 1.0;
  EXPECT_EQ(timeOf(source, 0.0F), 100.0);
  EXPECT_EQ(timeOf(copy, 0.0F), 1.0);
  EXPECT_TRUE(copy.isNonUniformCT());
}

// In front of a change at line 0 is line -1, at 100 - 0.25 s; half-way from there both rates have the same weight.
TEST_F(CameraTimeOf, ChangeAtLineZeroRampsFromTheLineInFrontOfTheTable) {
  mFolder.file("e.ctgl", test::ctglBytes({{99.0, 250000, 0}, {100.0, 500000, 0}}));
  CameraTime const time(mFolder.file("e.ctg", test::ctgBytes({100.0, 100.5, 101.0})));
  EXPECT_EQ(time.cycleTime(-0.5F).value(), 0.25);  // 100 - 0.5 * 0.5 s is the very time of line -1
  EXPECT_EQ(time.cycleTime(-0.25F).value(), 0.5 * 0.25 + 0.5 * 0.5);
  EXPECT_EQ(time.cycleTime(0.0F).value(), 0.5);
}

// 2^25 + 4 less the 2 of the last line is half-way between two floats, and goes to 2^25.
TEST_F(CameraTimeOf, LinesFarBehindTheEndAreCountedInSinglePrecision) {
  CameraTime const time = uniform({10.0, 10.5, 11.0});
  EXPECT_EQ(timeOf(time, 33554436.0F), 11.0 + 33554432.0 * 0.5);
}

// The ramp of a change begins where its line less 1 is in single precision: 2^24 + 1 counts as 2^24, and 2^24 - 1 is
// the line in front of it.
TEST_F(CameraTimeOf, LineOfAChangeFarBehindTheEndIsRoundedForItsRamp) {
  // The last line, 2, is at 102 s, and line 2^24 - 1 is 2^24 - 3 s later.
  double const rampStart = 102.0 + 16777213.0;
  mFolder.file("f.ctgl", test::ctglBytes({{100.0, 500000, 0}, {rampStart + 4.0, 1000000, 16777217}}));
  CameraTime const time(mFolder.file("f.ctg", test::ctgBytes({100.0, 101.0, 102.0})));
  EXPECT_EQ(time.cycleTime(16777215.0F).value(), 0.5);
  // A line further, a quarter of the way from there to the time of the change.
  EXPECT_EQ(time.cycleTime(16777216.0F).value(), 0.25 * 1.0 + 0.75 * 0.5);
}

// Within the table a line's fraction is a float, and the product is in double.
TEST_F(CameraTimeOf, FractionOfALineIsMultipliedInDouble) {
  CameraTime const time = uniform({10.0, 10.1, 10.7, 11.0});
  EXPECT_THAT(timeOf(time, 1.3F), SameBits(10.1 + (10.7 - 10.1) * static_cast<double>(1.3F - 1.0F)));
  double const mean = (11.0 - 10.0) / 3.0;
  EXPECT_THAT(timeOf(time, -2.3F), SameBits(static_cast<double>(-2.3F) * mean + 10.0));
  EXPECT_THAT(timeOf(time, 4.7F), SameBits(static_cast<double>(4.7F - 3.0F) * mean + 11.0));
  EXPECT_THAT(time.line(seconds(10.77)), SameBits(static_cast<float>((10.77 - 10.0) / mean)));
}

}  // namespace
