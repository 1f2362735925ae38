// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CtgFiles.h"
#include "support/Matchers.h"

#include <sensor/CameraTime.h>

#include <cmath>

namespace {

using sensor::CameraTime;
using sensor::seconds;
using test::SameBits;

// Changes of the rate that say something else than the table, so that the estimate they give has to be refined on it.
class CameraTimeRefinement : public testing::Test {
protected:
  CameraTime timeOf(std::vector<double> const& times, std::vector<test::RateRecord> const& changes) const {
    mFolder.file("a.ctgl", test::ctglBytes(changes));
    return CameraTime(mFolder.file("a.ctg", test::ctgBytes(times)));
  }

  test::TempFolder mFolder;
};

// Behind the last line the time goes on at 0.5 s a line, while a round divides by the last interval of 1 s: each round
// halves what is missing. Time 1101 is that of line 1 + 1000 / 0.5 = 2001, and the estimate 1001 / 0.5 + 1023 = 3025 is
// 1024 lines too far. Ten rounds leave 1024 / 2^10 = 1.
TEST_F(CameraTimeRefinement, EndsAfterTenRoundsWithTheLastCandidate) {
  CameraTime const time = timeOf({100.0, 101.0}, {{100.0, 500000, 1023}});
  EXPECT_THAT(time.line(seconds(1101.0)), SameBits(2002.0F));
}

// The table has line L at L seconds, and the change puts time t at line t + 1e-4: the estimate is off by the tolerance.
TEST_F(CameraTimeRefinement, EstimateOffByTheToleranceIsLeft) {
  float const tolerance = 1e-4F;
  CameraTime const time = timeOf({0.0, 1.0}, {{-static_cast<double>(tolerance), 1000000, 0}});
  EXPECT_THAT(time.line(seconds(0.0)), SameBits(tolerance));
}

// An estimate of one float above the tolerance at 6e-12 s is off by 9.9999999e-05 s: more than 1e-4 in single
// precision, though less than 1e-4.
TEST_F(CameraTimeRefinement, ToleranceIsATenthOfAMillisecondInSinglePrecision) {
  double const t = 6e-12;
  float const estimate = std::nextafter(1e-4F, 1.0F);
  double const missing = static_cast<double>(estimate) - t;
  ASSERT_GT(missing, static_cast<double>(1e-4F));
  ASSERT_LT(missing, 1e-4);
  CameraTime const time = timeOf({0.0, 1.0}, {{-missing, 1000000, 0}});
  EXPECT_NEAR(time.line(seconds(t)), 6e-12, 1e-17);
}

// Time 100 is that of line 0. The estimate 3 / 2 = 1.5 lies at 103.5 s, and the interval of line 1 leads from there to
// 1.5 - 3.5 / 1 = -2, whose time is 100 - 2 * 2 = 96. The last interval leads back to -2 + 4 / 1 = 2, at 104 s, and
// that to -2 again: after ten rounds it is line 2. The first interval would have led to -2 + 4 / 3.
TEST_F(CameraTimeRefinement, CandidateInFrontOfTheTableGoesOnWithTheLastInterval) {
  CameraTime const time = timeOf({100.0, 103.0, 104.0}, {{97.0, 2000000, 0}});
  EXPECT_THAT(time.line(seconds(100.0)), SameBits(2.0F));
}

// Line -1 is the first one that does. The estimate 3 / 2 = 1.5 lies 2.5 s after 101 s, and leads to -1 at 98 s; the
// last interval leads back to -1 + 3 / 1 = 2, as before, and the first one would have led to -1 + 3 / 3.
TEST_F(CameraTimeRefinement, CandidateAtMinusOneGoesOnWithTheLastInterval) {
  CameraTime const time = timeOf({100.0, 103.0, 104.0}, {{98.0, 2000000, 0}});
  EXPECT_THAT(time.line(seconds(101.0)), SameBits(2.0F));
}

// The estimate 1.5 lies at 102 s, and the interval of line 1 leads to 1.5 - 2 / 1 = -0.5, at 100 - 0.5 * 1.5 = 99.25 s.
// That line truncates to 0, whose interval leads to -0.5 + 0.75 / 1.5 = 0.
TEST_F(CameraTimeRefinement, CandidateLessThanALineInFrontOfTheTableGoesOnWithTheFirstInterval) {
  CameraTime const time = timeOf({100.0, 101.5, 102.5, 102.625}, {{97.0, 2000000, 0}});
  EXPECT_THAT(time.line(seconds(100.0)), SameBits(0.0F));
}

// The estimate is 10 lines too far: a time of the table is refined, one in front of it is not.
TEST_F(CameraTimeRefinement, TimeInFrontOfTheTableGivesItsEstimate) {
  CameraTime const time = timeOf({100.0, 101.0}, {{90.0, 1000000, 0}});
  EXPECT_THAT(time.line(seconds(99.0)), SameBits(9.0F));
  EXPECT_THAT(time.line(seconds(100.0)), SameBits(0.0F));
}

// The time lies in the table, but the first change, which governs it, puts it 4 lines in front of line 0.
TEST_F(CameraTimeRefinement, NegativeEstimateOfATimeInTheTableIsLeft) {
  CameraTime const time = timeOf({100.0, 101.0, 102.0}, {{105.0, 1000000, 0}});
  EXPECT_THAT(time.line(seconds(101.0)), SameBits(-4.0F));
}

// An estimate of 0 is refined: the table has line 1 there.
TEST_F(CameraTimeRefinement, EstimateOfLineZeroIsRefined) {
  CameraTime const time = timeOf({100.0, 101.0, 102.0}, {{101.0, 1000000, 0}});
  EXPECT_THAT(time.line(seconds(101.0)), SameBits(1.0F));
}

// 2^24 + 1 has no float: line 2^24 counts, and one more is a tie that goes to the even 2^24. From the whole number it
// would be 2^24 + 2.
TEST_F(CameraTimeRefinement, NumberOfAChangeIsRoundedToSinglePrecision) {
  CameraTime const time = timeOf({100.0}, {{100.0, 1000000, 16777217}});
  EXPECT_THAT(time.line(seconds(101.0)), SameBits(16777216.0F));
}

// At 101 s the estimate of the first change, 4 lines of 0.25 s, is that of line 4; the second change says line 2. With
// one line in the table nothing refines the one that governs.
TEST_F(CameraTimeRefinement, LatestChangeThatIsNotBehindTheTimeGoverns) {
  CameraTime const time = timeOf({100.0}, {{100.0, 250000, 0}, {101.0, 500000, 2}, {103.0, 125000, 50}});
  EXPECT_THAT(time.line(seconds(100.875)), SameBits(3.5F));
  EXPECT_THAT(time.line(seconds(101.0)), SameBits(2.0F));
  EXPECT_THAT(time.line(seconds(102.5)), SameBits(5.0F));
  EXPECT_THAT(time.line(seconds(103.0)), SameBits(50.0F));
  EXPECT_THAT(time.line(seconds(103.25)), SameBits(52.0F));
}

TEST_F(CameraTimeRefinement, EqualTimesInTheTableEndInNoNumber) {
  CameraTime const time = timeOf({100.0, 100.0, 100.0}, {{100.0, 1000000, 1}});
  // The change has line 2 at 101 s; the table goes on from there by 1 s a line, and is off by nothing at 101 s.
  EXPECT_FALSE(std::isnan(time.line(seconds(100.0))));
  // Where it is off, a step of no length leads to no place.
  CameraTime const off = timeOf({100.0, 100.0, 100.0}, {{100.0, 1000000, 5}});
  EXPECT_FALSE(std::isfinite(off.line(seconds(100.5))));
}

TEST_F(CameraTimeRefinement, CycleTimeOfNothingIsSurvived) {
  CameraTime const time = timeOf({100.0, 101.0, 102.0}, {{100.0, 0, 0}, {101.0, -5, 1}});
  for (double const t : {99.0, 100.0, 100.5, 101.0, 105.0}) {
    time.line(seconds(t));
  }
  EXPECT_EQ(time.cycleTime(0.0F).value(), 0.0);
  EXPECT_EQ(time.cycleTime(5.0F).value(), -5 * 1e-6);
}

}  // namespace
