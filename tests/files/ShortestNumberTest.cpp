// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/ShortestNumber.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

std::string written(double value) {
  std::array<char, files::longestNumber> text{};
  return {text.data(), files::writeShortest(text.data(), value)};
}

std::string expected(double value) {
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

// With a number's exponent from 2^-10 to 2^56: some on each side of those that have a way of their own.
double withExponent(std::uint64_t mantissa, std::uint64_t random) {
  constexpr std::uint64_t mantissaMask = (std::uint64_t{1} << 52) - 1;
  std::uint64_t const exponent = 1023 - 10 + random % 67;
  std::uint64_t const sign = random & (std::uint64_t{1} << 63);
  return std::bit_cast<double>(sign | (exponent << 52) | (mantissa & mantissaMask));
}

TEST(ShortestNumber, AnyBitsAreWrittenAsTheStandardLibraryDoes) {
  std::mt19937_64 random(20261122);
  for (int i = 0; i < 400000; ++i) {
    double const value = withExponent(random(), random());
    ASSERT_EQ(written(value), expected(value)) << std::hexfloat << value;
  }
}

TEST(ShortestNumber, FewBitsAreWrittenAsTheStandardLibraryDoes) {
  std::mt19937_64 random(20261123);
  for (int i = 0; i < 300000; ++i) {
    double const value = withExponent(~std::uint64_t{0} << (random() % 53) & random(), random());
    ASSERT_EQ(written(value), expected(value)) << std::hexfloat << value;
  }
}

TEST(ShortestNumber, FewDecimalsAreWrittenAsTheStandardLibraryDoes) {
  std::mt19937_64 random(20261124);
  for (int i = 0; i < 300000; ++i) {
    double const value = static_cast<double>(random() >> (11 + random() % 45)) / std::pow(10.0, random() % 17);
    ASSERT_EQ(written(value), expected(value)) << std::hexfloat << value;
  }
}

// Quarters are the distance of doubles here: of two texts of one decimal that are as near, the even one.
TEST(ShortestNumber, OfTwoTextsAsNearTheEvenOneIsWritten) {
  EXPECT_EQ(written(1125899906842624.25), "1125899906842624.2");
  EXPECT_EQ(written(1125899906842624.75), "1125899906842624.8");
  EXPECT_EQ(written(-1125899906842625.25), "-1125899906842625.2");
}

TEST(ShortestNumber, WholeNumbersAndTheirNeighboursAreWrittenAsTheStandardLibraryDoes) {
  for (double value = 1.0 / 128.0; value < 2e16; value *= value < 100.0 ? 1.25 : 10.0) {
    for (double const whole : {value, std::round(value), std::exp2(std::round(std::log2(value)))}) {
      for (double const other : {whole, std::nextafter(whole, 0.0), std::nextafter(whole, HUGE_VAL)}) {
        EXPECT_EQ(written(other), expected(other));
        EXPECT_EQ(written(-other), expected(-other));
      }
    }
  }
}

TEST(ShortestNumber, AllOtherNumbersAreWrittenAsTheStandardLibraryDoes) {
  using Limits = std::numeric_limits<double>;
  for (double const value : {0.0, -0.0, 0.1, 1.0, 100000.0, 1e22, 1e-5, 0.01, 0.015625, 0.0156249, Limits::max(),
                             Limits::min(), Limits::denorm_min(), Limits::lowest(), Limits::epsilon()}) {
    EXPECT_EQ(written(value), expected(value));
  }
}

}  // namespace
