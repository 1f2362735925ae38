// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

using sensor::GroundPointList;
using sensor::ImagePointList;
using test::ground;
using test::image;
using testing::ElementsAreArray;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class PointWrite : public testing::Test {
protected:
  std::string text(std::vector<geo::GroundPoint> const& points, bool shortForm = false) const {
    EXPECT_EQ(GroundPointList(points).write(mName, shortForm), 0);
    return test::contents(mName);
  }
  std::string text(std::vector<geo::ImagePoint> const& points, int precision = 3) const {
    EXPECT_EQ(ImagePointList(points, "S1", "PANN00A").write(mName, precision), 0);
    return test::contents(mName);
  }

  test::TempFolder mFolder;
  std::string mName = mFolder / "points";
};

TEST_F(PointWrite, GroundPointHasTenDecimalsAndTwoBlanksBetweenFields) {
  EXPECT_EQ(text({ground("P 1", 1, -2.5, 1234567.125, 0.1, 0.25, 3, 2), ground("Q", 0, 0, 0)}),
            "\"P 1\"  1.0000000000  -2.5000000000  1234567.1250000000  0.1000000000  0.2500000000  3.0000000000  2\n"
            "\"Q\"  0.0000000000  0.0000000000  0.0000000000  0.0000000000  0.0000000000  0.0000000000  0\n");
}

TEST_F(PointWrite, ShortFormEndsBehindTheCoordinates) {
  EXPECT_EQ(text({ground("P", 1, 2, 3, 4, 5, 6, 7), ground("Q", 4, 5, 6)}, true),
            "\"P\"  1.0000000000  2.0000000000  3.0000000000\n\"Q\"  4.0000000000  5.0000000000  6.0000000000\n");
}

TEST_F(PointWrite, GroundPointTypesAreDigitsUpToSeven) {
  std::vector<std::pair<std::int32_t, char>> const types{
      {0, '0'}, {6, '6'}, {7, '7'}, {8, '7'}, {-1, '7'}, {std::numeric_limits<std::int32_t>::min(), '7'}};
  for (auto const& [type, digit] : types) {
    std::string const line = text({ground("P", 0, 0, 0, 0, 0, 0, type)});
    EXPECT_EQ(line.substr(line.size() - 4), std::string("  ") + digit + "\n") << type;
  }
}

TEST_F(PointWrite, TypeNineIsReadAndWrittenAsSeven) {
  std::string const line = text(test::groundPointsIn("P 1 2 3 0.1 0.1 0.1 9"));
  EXPECT_EQ(line.substr(line.size() - 4), "  7\n");
}

TEST_F(PointWrite, ImagePointHasOneBlankBetweenFields) {
  EXPECT_EQ(text({image("P 1", 10.5, 1234.0625, 0.1, 0.25, true), image("Q", 0, 1, 2, 3, false)}, 4),
            "\"P 1\" 10.5000 1234.0625 0.1000 0.2500 1\n\"Q\" 0.0000 1.0000 2.0000 3.0000 0\n");
}

TEST_F(PointWrite, ImagePointOfNegativeCoordinatesIsWritten) {
  ImagePointList list;
  list.addPoint(image("P", -0.5, 1, 2, 3, true));
  EXPECT_EQ(list.write(mName, 3), 0);
  EXPECT_EQ(test::contents(mName), "\"P\" -0.500 1.000 2.000 3.000 1\n");
}

// 1/16 and 3/16 are exact, and in the middle of two numbers of three decimals; so is 2^-11 for ten.
TEST_F(PointWrite, TiesGoAwayFromZero) {
  EXPECT_EQ(text({image("P", 0.0625, 0.1875, -0.0625, 2.5, true)}), "\"P\" 0.063 0.188 -0.063 2.500 1\n");
  EXPECT_EQ(text({image("P", 0.5, 1.5, 2.5, -0.5, true)}, 0), "\"P\" 1 2 3 -1 1\n");
  EXPECT_EQ(text({ground("P", 1.0 / 2048, -1.0 / 2048, 3.0 / 2048)}, true),
            "\"P\"  0.0004882813  -0.0004882813  0.0014648438\n");
}

TEST_F(PointWrite, ZeroHasNoSignAndWhatIsNoNumberIsAWord) {
  EXPECT_EQ(text({image("P", -0.0, nan, infinity, -infinity, true)}), "\"P\" 0.000 nan inf -inf 1\n");
}

TEST_F(PointWrite, NegativePrecisionIsSix) {
  EXPECT_EQ(text({image("P", 0.5, 1, 2, 3, true)}, -1), "\"P\" 0.500000 1.000000 2.000000 3.000000 1\n");
}

TEST_F(PointWrite, LargeNumbersHaveAllDigits) {
  // 2^60
  EXPECT_EQ(text({ground("P", 1152921504606846976.0, 0, 0)}, true),
            "\"P\"  1152921504606846976.0000000000  0.0000000000  0.0000000000\n");
}

TEST_F(PointWrite, ListWithoutPointsIsAnEmptyFile) {
  mFolder.file("points", "old");
  EXPECT_EQ(text(std::vector<geo::GroundPoint>{}), "");
  EXPECT_EQ(text(std::vector<geo::ImagePoint>{}), "");
}

TEST_F(PointWrite, OlderFileIsReplaced) {
  mFolder.file("points", std::string(1000, 'x'));
  EXPECT_EQ(text({image("P", 1, 2, 3, 4, true)}, 0), "\"P\" 1 2 3 4 1\n");
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

TEST_F(PointWrite, ImagePointsGoToTheirOwnFileWithThreeDecimals) {
  std::string const file = mFolder.file("a.ipt", "\"P\" 1.23456 2 3 4 1");
  ImagePointList list(file, "S1", "PANN00A");
  EXPECT_EQ(list.write(), 0);
  EXPECT_EQ(test::contents(file), "\"P\" 1.235 2.000 3.000 4.000 1\n");
}

TEST_F(PointWrite, OtherFileBecomesTheOwnButItsPrecisionDoesNot) {
  std::string const file = mFolder.file("a.ipt", "\"P\" 1.234567 2 3 4 1");
  ImagePointList list(file, "S1", "PANN00A");
  EXPECT_EQ(list.write(mName, 5), 0);
  EXPECT_EQ(list.fileName(), mName);
  EXPECT_EQ(test::contents(mName), "\"P\" 1.23457 2.00000 3.00000 4.00000 1\n");
  EXPECT_EQ(list.write(), 0);
  EXPECT_EQ(test::contents(mName), "\"P\" 1.235 2.000 3.000 4.000 1\n");
  EXPECT_EQ(test::contents(file), "\"P\" 1.234567 2 3 4 1");
}

// Multiples of 2^-10 have ten decimals, and the text is longer than what is written at once.
TEST_F(PointWrite, GroundPointsReadBackAsTheyWere) {
  std::mt19937 random(20100312);
  auto const number = [&] { return (static_cast<double>(random()) - 2147483648.0) / 1024; };
  std::vector<geo::GroundPoint> points;
  for (int i = 0; i < 3000; ++i) {
    points.push_back(ground("P " + std::to_string(i), number(), number(), number(), number(), number(), number(),
                            static_cast<std::int32_t>(random() % 8)));
  }
  text(points);
  EXPECT_THAT(GroundPointList(mName).points(), ElementsAreArray(points));
}

TEST_F(PointWrite, ImagePointsReadBackAsTheyWere) {
  std::mt19937 random(20100312);
  auto const number = [&] { return static_cast<double>(random() % 100000000) / 1024; };
  std::vector<geo::ImagePoint> points;
  for (int i = 0; i < 3000; ++i) {
    points.push_back(image("P " + std::to_string(i), number(), number(), number(), number(), random() % 2 == 0));
  }
  text(points, 10);
  EXPECT_THAT(ImagePointList(mName, "", "").points(), ElementsAreArray(points));
}

}  // namespace
