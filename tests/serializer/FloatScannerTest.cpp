// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "serializer/FloatScanner.h"

#include "support/Matchers.h"

#include <QIODevice>
#include <QTextStream>

#include <cmath>
#include <random>

namespace {

using sensor::FloatScanner;

// A few numbers of a text, up to the first failure, which stands as nothing.
using Numbers = std::vector<std::optional<float>>;

Numbers scanned(std::string const& text, int count) {
  FloatScanner scanner(text);
  Numbers numbers;
  do {
    numbers.push_back(scanner.next());
  } while (numbers.back() && --count > 0);
  return numbers;
}

Numbers streamed(std::string const& text, int count) {
  QString all = QString::fromStdString(text);
  QTextStream stream(&all, QIODevice::ReadOnly);
  Numbers numbers;
  do {
    float value = 0.0F;
    stream >> value;
    numbers.push_back(stream.status() == QTextStream::Ok ? std::optional(value) : std::nullopt);
  } while (numbers.back() && --count > 0);
  return numbers;
}

void expectSame(std::string const& text) {
  SCOPED_TRACE(testing::PrintToString(text));
  Numbers const got = scanned(text, 6);
  Numbers const expected = streamed(text, 6);
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    ASSERT_EQ(got[i].has_value(), expected[i].has_value()) << i;
    if (got[i] && !(std::isnan(*got[i]) && std::isnan(*expected[i]))) {
      ASSERT_THAT(*got[i], test::SameBits(*expected[i])) << i;
    }
  }
}

TEST(FloatScanner, NumbersStandBetweenAnyWhiteSpace) {
  FloatScanner scanner("1.5 -2\n\n\t0.25\r\n\v007\f3");
  EXPECT_EQ(scanner.next(), 1.5F);
  EXPECT_EQ(scanner.next(), -2.0F);
  EXPECT_EQ(scanner.next(), 0.25F);
  EXPECT_EQ(scanner.next(), 7.0F);
  EXPECT_EQ(scanner.next(), 3.0F);
  EXPECT_EQ(scanner.next(), std::nullopt);
  EXPECT_EQ(scanner.next(), std::nullopt);
}

TEST(FloatScanner, BehindTheFirstTextThatIsNoNumberThereIsNone) {
  FloatScanner scanner("1 two 3");
  EXPECT_EQ(scanner.next(), 1.0F);
  EXPECT_EQ(scanner.next(), std::nullopt);
  EXPECT_EQ(scanner.next(), std::nullopt);
}

TEST(FloatScanner, TextBecomesAFloatThroughADouble) {
  // 1 + 2^-24 + 2^-54 lies above the middle between two floats, but its double is the middle, which rounds to even.
  char const* const text = "1.00000005960464483090";
  EXPECT_EQ(static_cast<float>(1.0 + std::ldexp(1.0, -24)), 1.0F);
  EXPECT_THAT(FloatScanner(text).next().value_or(0.0F), test::SameBits(1.0F));
}

TEST(FloatScanner, OddTextsAreTakenAsAStreamTakesThem) {
  for (char const* text :
       {"",         "+1",       "1e",         "nan",
        "0x10",     "1,5",      ".5",         "5.",
        "-",        "-.5",      "1e5x",       "1e+",
        "inf",      "-inf",     "1e400",      "1e-400",
        "1d5",      "1E5",      "12abc",      "0b11",
        "010",      "1_0",      "--1",        "1.2.3",
        "1-2-3",    ".1.2.3",   "NaN",        "INF",
        "e5",       ".",        "1e39",       "&1",
        "1;2",      "1e-46",    "0.1e",       "+nan",
        "5.x",      "- 1",      "-0",         "-0.0",
        "infinity", "1\u00A02", "\uFEFF1",    "\xC3",
        "1\xFF",    "\u0663",   "1 \u2003 2", "99999999999999999999999999999999999999999999999999999999999"}) {
    expectSame(text);
    expectSame(std::string("1.25 ") + text + " 7 8");
    expectSame(std::string(text) + "\n-0.5");
  }
  expectSame(std::string("1 \0 2", 5));
}

TEST(FloatScanner, LongNumbersAreTakenAsAStreamTakesThem) {
  for (std::size_t const size : {62U, 63U, 64U, 65U, 120U, 130U, 300U}) {
    expectSame("1 " + std::string(size, '3') + " 2 3");
    expectSame("1 0." + std::string(size, '0') + "7 2 3");
  }
}

TEST(FloatScanner, RandomTextsAreTakenAsAStreamTakesThem) {
  constexpr std::string_view letters = "0123456789012345678900..--+eE \n\t  \r,xnaif";
  std::mt19937 random(20100312);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (auto size = random() % 24; size > 0; --size) {
      text += letters[random() % letters.size()];
    }
    expectSame(text);
    if (HasFatalFailure()) {
      return;
    }
  }
}

TEST(FloatScanner, RandomNumbersHaveTheBitsThatAStreamGivesThem) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string text;
    for (int n = 0; n < 6; ++n) {
      text += std::to_string(static_cast<std::int32_t>(random()) / 50000) + "." + std::to_string(random()) + "\n";
    }
    expectSame(text);
  }
}

}  // namespace
