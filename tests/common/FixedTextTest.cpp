// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <locale>
#include <random>

namespace {

using sensor::fixedText;

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(FixedText, ValueHasTheDecimalsAskedFor) {
  EXPECT_EQ(fixedText(1.25, 5), "1.25000");
  EXPECT_EQ(fixedText(-1234567.0, 2), "-1234567.00");
  EXPECT_EQ(fixedText(0.171, 0), "0");
  EXPECT_EQ(fixedText(12000.0, 0), "12000");
}

TEST(FixedText, TieGoesToTheEvenDigit) {
  EXPECT_EQ(fixedText(0.5, 0), "0");
  EXPECT_EQ(fixedText(1.5, 0), "2");
  EXPECT_EQ(fixedText(2.5, 0), "2");
  // 239796.515625 is 15346977 / 64: a double holds it exactly.
  EXPECT_EQ(fixedText(239796.515625, 5), "239796.51562");
  EXPECT_EQ(fixedText(-239796.515625, 5), "-239796.51562");
  EXPECT_EQ(fixedText(239796.546875, 5), "239796.54688");
}

TEST(FixedText, ExactValueOfTheDoubleDecides) {
  // The double next to 1.005 lies below it.
  EXPECT_EQ(fixedText(1.005, 2), "1.00");
  EXPECT_EQ(fixedText(0.1, 30), "0.100000000000000005551115123126");
}

TEST(FixedText, ZeroKeepsItsSign) {
  EXPECT_EQ(fixedText(0.0, 5), "0.00000");
  EXPECT_EQ(fixedText(-0.0, 5), "-0.00000");
  EXPECT_EQ(fixedText(-1e-6, 5), "-0.00000");
}

TEST(FixedText, LargestNumbersAndThoseThatAreNoneHaveRoom) {
  double const largest = std::numeric_limits<double>::max();
  EXPECT_EQ(fixedText(-largest, 30).size(), 1U + 309U + 1U + 30U);
  EXPECT_EQ(fixedText(infinity, 5), "inf");
  EXPECT_EQ(fixedText(-infinity, 5), "-inf");
  EXPECT_EQ(fixedText(std::numeric_limits<double>::quiet_NaN(), 5), "nan");
}

TEST(FixedText, NanHasNoSign) {
  EXPECT_EQ(fixedText(std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0), 5), "nan");
}

TEST(FixedText, TextIsAddedToWhatIsThere) {
  std::string text = "x ";
  sensor::appendFixed(text, 2.0, 1);
  sensor::appendFixed(text, -3.25, 2);
  EXPECT_EQ(text, "x 2.0-3.25");
}

TEST(FixedText, LocaleOfTheHostDoesntMatter) {
  struct GermanNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  std::string const text = fixedText(12345.5, 1);
  std::locale::global(before);
  EXPECT_EQ(text, "12345.5");
}

TEST(FixedText, AgreesWithTheCLibrary) {
  std::mt19937 random(20100312);
  std::array<char, 64> expected{};
  for (int i = 0; i < 100000; ++i) {
    // Every eighth of a ten-thousandth and such is a tie in some number of decimals.
    double const value = (static_cast<double>(random()) - 2147483648.0) / static_cast<double>(1U << random() % 24);
    int const decimals = static_cast<int>(random() % 11);
    std::snprintf(expected.data(), expected.size(), "%.*f", decimals, value);
    ASSERT_EQ(fixedText(value, decimals), expected.data()) << i;
  }
}

}  // namespace
