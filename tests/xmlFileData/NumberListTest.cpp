// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/NumberList.h"

#include "support/Matchers.h"
#include "xmlFileData/WideText.h"

#include <QIODevice>
#include <QTextStream>

#include <cmath>
#include <random>

namespace {

using testing::ElementsAre;

std::vector<double> numberList(QString const& text, std::size_t expected) {
  return xmlFileData::numberList(xmlFileData::wideView(text), expected);
}

std::vector<double> numbers(char const* text) {
  return numberList(QString::fromUtf8(text), 3);
}

// What a stream of Qt reads from a text.
std::vector<double> numbersOfStream(QString text) {
  QTextStream stream(&text, QIODevice::ReadOnly);
  std::vector<double> result;
  for (stream.skipWhiteSpace(); !stream.atEnd(); stream.skipWhiteSpace()) {
    double value = 0.0;
    stream >> value;
    if (stream.status() != QTextStream::Ok) {
      break;
    }
    result.push_back(value);
  }
  return result;
}

TEST(NumberList, NumbersStandBetweenAnyWhiteSpace) {
  EXPECT_THAT(numbers("1.5 -2.25"), ElementsAre(1.5, -2.25));
  EXPECT_THAT(numbers("\n\t 1\r\n2\v3\f4 \n"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(numbers("1\xC2\xA0"
                      "2"),
              ElementsAre(1, 2));
  EXPECT_THAT(numbers(""), ElementsAre());
  EXPECT_THAT(numbers(" \n "), ElementsAre());
}

TEST(NumberList, WhatIsNoNumberEndsTheList) {
  EXPECT_THAT(numbers("1 x 2"), ElementsAre(1));
  EXPECT_THAT(numbers("1,5 2"), ElementsAre(1));
  EXPECT_THAT(numbers("1\x08 2"), ElementsAre(1));
  EXPECT_THAT(numbers("- 1"), testing::SizeIs(testing::Le(1U)));
}

TEST(NumberList, WordsAreReadAsTheStreamReadsThem) {
  for (char const* word :
       {"0",       "-0",       "007",       "1.",       ".5",
        "-.5",     "+1.5",     "1e5",       "1E-3",     "1e+2",
        "1e",      "1e400",    "1e-400",    "4.9e-324", "nan",
        "nan(7)",  "infinity", "-INFINITY", "inf",      "-inf",
        "NaN",     "0x10",     "1-2",       "1.5.5",    "1+2",
        "--1",     "1_000",    "1,000",     "1d5",      "12345678901234567890",
        "-",       "+",        ".",         "e5",       "0.1000000000000000055511151231257827021181583404541015625",
        "\xD9\xA1"}) {
    QString const text = QStringLiteral("7 ") + QString::fromUtf8(word) + QStringLiteral(" 8");
    std::vector<double> const read = numberList(text, 3);
    std::vector<double> const expected = numbersOfStream(text);
    ASSERT_EQ(read.size(), expected.size()) << word;
    for (std::size_t i = 0; i < read.size(); ++i) {
      EXPECT_THAT(read[i], test::SameBits(expected[i])) << word;
    }
  }
}

TEST(NumberList, RandomNumbersAreReadToTheLastBit) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-30, 30);
  QString text;
  std::vector<double> values;
  for (int i = 0; i < 2000; ++i) {
    double const value = mantissa(random) * std::pow(10.0, exponent(random));
    values.push_back(value);
    text += QString::number(value, i % 2 == 0 ? 'g' : 'e', 17) + QLatin1Char(' ');
  }
  EXPECT_EQ(numberList(text, values.size()), values);
}

TEST(NumberList, LongWordsNeitherHangNorOverrun) {
  EXPECT_LE(numberList(QString(100000, QLatin1Char('1')), 1).size(), 100000U);
  EXPECT_LE(numberList(QString(100000, QLatin1Char('-')), 1).size(), 1U);
}

TEST(NumberList, RoomIsMadeForNoMoreThanTheTextCanHold) {
  EXPECT_LE(numberList(QStringLiteral("1 2 3"), 2000000000).capacity(), 3U);
  EXPECT_GE(numberList(QStringLiteral("1 2 3"), 3).capacity(), 3U);
}

}  // namespace
