// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/PlainNumber.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>
#include <string>

namespace {

// The number that a text begins with, and how many characters it takes; 0 of them when there is none.
std::pair<double, std::ptrdiff_t> read(std::string const& text) {
  auto const narrow = files::plainNumber(text.data(), text.data() + text.size());
  std::u16string const wide(text.begin(), text.end());
  auto const same = files::plainNumber(wide.data(), wide.data() + wide.size());
  EXPECT_EQ(narrow.end == nullptr, same.end == nullptr) << text;
  if (narrow.end == nullptr) {
    return {0.0, 0};
  }
  EXPECT_EQ(same.end - wide.data(), narrow.end - text.data()) << text;
  EXPECT_EQ(same.value, narrow.value) << text;
  return {narrow.value, narrow.end - text.data()};
}

double nearest(std::string const& text) {
  double value = 0.0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

TEST(PlainNumber, ValueIsTheDoubleNearestToTheText) {
  std::mt19937_64 random(20261122);
  for (int i = 0; i < 200000; ++i) {
    // From 1 to 15 digits, so that none is too long, with any number of them after the point.
    auto const digits = 1 + static_cast<int>(random() % 15);
    std::string text = std::to_string(random() % static_cast<std::uint64_t>(std::pow(10.0, digits)));
    text.insert(0, random() % 3, '0');
    if (std::size_t const place = 1 + random() % text.size(); place < text.size()) {
      text.insert(place, 1, '.');
    }
    text.insert(0, random() % 2, '-');
    auto const [value, size] = read(text);
    ASSERT_EQ(size, static_cast<std::ptrdiff_t>(text.size())) << text;
    ASSERT_EQ(value, nearest(text)) << text;
    ASSERT_EQ(std::signbit(value), text.front() == '-') << text;
  }
}

// Those whose digits make more than 2^53. As many of them as a reciprocal of 64 bits leaves open are none.
TEST(PlainNumber, ValueOfManyDigitsIsTheDoubleNearestToTheText) {
  std::mt19937_64 random(20261123);
  int open = 0;
  constexpr int count = 200000;
  for (int i = 0; i < count; ++i) {
    std::string text = std::to_string(random() % 9 + 1);
    while (text.size() < 17 + random() % 3) {
      text += static_cast<char>('0' + random() % 10);
    }
    if (std::size_t const place = 1 + random() % text.size(); place < text.size()) {
      text.insert(place, 1, '.');
    }
    auto const [value, size] = read(text + " and more");
    open += size == 0 ? 1 : 0;
    ASSERT_TRUE(size == 0 || (size == static_cast<std::ptrdiff_t>(text.size()) && value == nearest(text))) << text;
  }
  EXPECT_LT(open, count / 100);
}

// 2^53 + 1 lies in the middle of two doubles; each decimal more moves the next number off it.
TEST(PlainNumber, ValueNextToTheMiddleOfTwoDoublesIsTheNearestOrNone) {
  for (std::string const whole : {"9007199254740993", "9007199254740995", "18014398509481986"}) {
    EXPECT_EQ(read(whole).second, 0) << whole;
    for (std::string const& text : {whole + ".1", whole + ".9", whole + ".01"}) {
      auto const [value, size] = read(text);
      EXPECT_TRUE(size == 0 || value == nearest(text)) << text;
    }
  }
}

TEST(PlainNumber, EndsBeforeTheFirstOtherCharacter) {
  for (std::string const rest : {",", " ", "e5", "x", "-", ".5", "\n"}) {
    auto const [value, size] = read("12.25" + rest);
    EXPECT_EQ(value, 12.25) << rest;
    EXPECT_EQ(size, 5) << rest;
  }
  // Among eight and more, too.
  for (std::string const other : {"/", ":", "x", "\x80", "\xFF", "\xB9", "\xBA"}) {
    EXPECT_EQ(read("1234567890123" + other + "4567890").first, 1234567890123.0) << other;
    EXPECT_EQ(read("12.5" + other + "4567890").first, 12.5) << other;
  }
  EXPECT_EQ(read("7/").second, 1);
  EXPECT_EQ(read("7:").second, 1);
}

TEST(PlainNumber, TextWithoutDigitsAroundThePointIsNone) {
  for (char const* text : {"", "-", ".5", "-.5", "5.", "5.,", "+5", "x", " 5", "--5", "nan"}) {
    EXPECT_EQ(read(text).second, 0) << text;
  }
}

// Twenty may be more than 64 bits hold.
TEST(PlainNumber, TooManyDigitsAreNone) {
  EXPECT_EQ(read("9007199254740992").first, 9007199254740992.0);
  EXPECT_EQ(read("9999999999999999999").first, 1e19);
  EXPECT_EQ(read("0000000000000000001").first, 1.0);
  EXPECT_EQ(read("00000000000000000001").second, 0);
  EXPECT_EQ(read("0.000000000000000001").first, 1e-18);
  EXPECT_EQ(read("0.0000000000000000001").second, 0);
  EXPECT_EQ(read("18446744073709551617").second, 0);
}

}  // namespace
