// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using sensor::truncated;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr auto maximum32 = std::numeric_limits<std::int32_t>::max();
constexpr auto minimum32 = std::numeric_limits<std::int32_t>::min();
constexpr auto maximum64 = std::numeric_limits<std::int64_t>::max();
constexpr auto minimum64 = std::numeric_limits<std::int64_t>::min();

TEST(Truncate, FractionIsDroppedTowardsZero) {
  EXPECT_EQ(truncated<std::int32_t>(2.999), 2);
  EXPECT_EQ(truncated<std::int32_t>(-2.999), -2);
  EXPECT_EQ(truncated<std::int32_t>(0.999F), 0);
  EXPECT_EQ(truncated<std::int32_t>(-0.999F), 0);
  EXPECT_EQ(truncated<std::int32_t>(-0.0), 0);
  EXPECT_EQ(truncated<std::int64_t>(-1234567890123.75), -1234567890123);
}

TEST(Truncate, NanGivesZero) {
  EXPECT_EQ(truncated<std::int32_t>(nan), 0);
  EXPECT_EQ(truncated<std::int32_t>(-std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(truncated<std::uint32_t>(nan), 0U);
}

TEST(Truncate, ValueBeyondTheRangeGivesTheNearestEnd) {
  EXPECT_EQ(truncated<std::int32_t>(1e20), maximum32);
  EXPECT_EQ(truncated<std::int32_t>(-1e20), minimum32);
  EXPECT_EQ(truncated<std::int32_t>(infinity), maximum32);
  EXPECT_EQ(truncated<std::int32_t>(-infinity), minimum32);
  EXPECT_EQ(truncated<std::int64_t>(infinity), maximum64);
  EXPECT_EQ(truncated<std::int64_t>(-infinity), minimum64);
  EXPECT_EQ(truncated<std::int16_t>(40000.0F), 32767);
  EXPECT_EQ(truncated<std::int16_t>(-40000.0F), -32768);
}

TEST(Truncate, UnsignedTypesEndAtZeroAndAtTheirMaximum) {
  EXPECT_EQ(truncated<std::uint32_t>(-0.5), 0U);
  EXPECT_EQ(truncated<std::uint32_t>(-1.0), 0U);
  EXPECT_EQ(truncated<std::uint32_t>(4294967295.5), 4294967295U);
  EXPECT_EQ(truncated<std::uint32_t>(4294967296.0), 4294967295U);
  EXPECT_EQ(truncated<std::uint8_t>(255.9F), 255);
  EXPECT_EQ(truncated<std::uint8_t>(256.0F), 255);
}

TEST(Truncate, LastValuesInRangeAreExact) {
  EXPECT_EQ(truncated<std::int32_t>(2147483646.5), 2147483646);
  EXPECT_EQ(truncated<std::int32_t>(2147483647.0), maximum32);
  EXPECT_EQ(truncated<std::int32_t>(2147483647.5), maximum32);
  EXPECT_EQ(truncated<std::int32_t>(-2147483647.5), -2147483647);
  EXPECT_EQ(truncated<std::int32_t>(-2147483648.0), minimum32);
}

// The largest 32-bit number is no float: the float below 2^31 is 128 below it.
TEST(Truncate, FloatsBesideTheEndOfTheRangeAreTakenExactly) {
  float const end = 2147483648.0F;
  EXPECT_EQ(truncated<std::int32_t>(end), maximum32);
  EXPECT_EQ(truncated<std::int32_t>(std::nextafter(end, 0.0F)), 2147483520);
  EXPECT_EQ(truncated<std::int32_t>(-end), minimum32);
  EXPECT_EQ(truncated<std::int32_t>(std::nextafter(-end, -infinity)), minimum32);
}

// Nor is the largest 64-bit number a double: the double below 2^63 is 1024 below it.
TEST(Truncate, DoublesBesideTheEndOfTheWideRangeAreTakenExactly) {
  double const end = 9223372036854775808.0;
  EXPECT_EQ(truncated<std::int64_t>(end), maximum64);
  EXPECT_EQ(truncated<std::int64_t>(std::nextafter(end, 0.0)), maximum64 - 1023);
  EXPECT_EQ(truncated<std::int64_t>(-end), minimum64);
}

}  // namespace
