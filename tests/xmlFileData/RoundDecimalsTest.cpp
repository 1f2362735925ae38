// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/roundDecimals.h>

#include <cmath>
#include <limits>

namespace {

using test::SameBits;
using xmlFileData::roundDecimals;

TEST(RoundDecimals, TakesHalvesAwayFromZero) {
  EXPECT_THAT(roundDecimals(0.00005, 4), SameBits(0.0001));
  EXPECT_THAT(roundDecimals(-0.00005, 4), SameBits(-0.0001));
  // Both have few binary digits: these are halves to the last bit.
  EXPECT_THAT(roundDecimals(0.125, 2), SameBits(0.13));
  EXPECT_THAT(roundDecimals(-0.125, 2), SameBits(-0.13));
  EXPECT_THAT(roundDecimals(2.5, 0), SameBits(3.0));
  EXPECT_THAT(roundDecimals(-2.5, 0), SameBits(-3.0));
}

TEST(RoundDecimals, RoundsToTheNearestElsewhere) {
  EXPECT_THAT(roundDecimals(62.64324, 4), SameBits(62.6432));
  EXPECT_THAT(roundDecimals(62.64326, 4), SameBits(62.6433));
  EXPECT_THAT(roundDecimals(-62.64324, 4), SameBits(-62.6432));
  EXPECT_THAT(roundDecimals(-62.64326, 4), SameBits(-62.6433));
  EXPECT_THAT(roundDecimals(62.77775, 4), SameBits(62.7778));
}

TEST(RoundDecimals, RoundsTensAndHundredsForNegativeDecimals) {
  EXPECT_THAT(roundDecimals(1249.0, -1), SameBits(1250.0));
  EXPECT_THAT(roundDecimals(1249.0, -2), SameBits(1200.0));
  EXPECT_THAT(roundDecimals(1250.0, -2), SameBits(1300.0));
  EXPECT_THAT(roundDecimals(-1251.0, -2), SameBits(-1300.0));
}

TEST(RoundDecimals, MultipliesWithTheInverseForNegativeDecimals) {
  // A tenth of it is one step below a half, and the sum with 0.5 rounds up to 1; divided by 10 it is two steps below.
  EXPECT_THAT(roundDecimals(std::nextafter(5.0, 0.0), -1), SameBits(10.0));
  // The double at 1 / 100000 is a little large, so that its inverse is a little below 100000.
  EXPECT_THAT(roundDecimals(50000.0, -5), SameBits(std::nextafter(1e5, 0.0)));
}

TEST(RoundDecimals, TakesAllDecimalsThatAPowerOfTenHas) {
  EXPECT_THAT(roundDecimals(1.0, 22), SameBits(1.0));
  EXPECT_THAT(roundDecimals(3e-7, 7), SameBits(3.0 / 1e7));
  EXPECT_THAT(roundDecimals(3.4e-13, 13), SameBits(3.0 / 1e13));
}

TEST(RoundDecimals, LeavesWholeNumbersAndInfinitiesAsTheyAre) {
  double const inf = std::numeric_limits<double>::infinity();
  EXPECT_THAT(roundDecimals(0.0, 4), SameBits(0.0));
  EXPECT_THAT(roundDecimals(-17.0, 4), SameBits(-17.0));
  EXPECT_EQ(roundDecimals(inf, 4), inf);
  EXPECT_EQ(roundDecimals(-inf, 4), -inf);
  EXPECT_TRUE(std::isnan(roundDecimals(std::numeric_limits<double>::quiet_NaN(), 4)));
}

TEST(RoundDecimals, EndsForTheMostExtremeCounts) {
  EXPECT_TRUE(std::isnan(roundDecimals(1.0, std::numeric_limits<int>::max())));
  EXPECT_TRUE(std::isnan(roundDecimals(1.0, std::numeric_limits<int>::min())));
}

}  // namespace
