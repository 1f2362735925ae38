// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using sensor::GroundPointList;
using test::ground;
using test::groundPointsIn;
using testing::ElementsAre;
using testing::IsEmpty;

std::int32_t typeIn(std::string const& line) {
  auto const points = groundPointsIn(line);
  return points.size() == 1 ? points[0].type : -1;
}

TEST(GroundPointRead, PointHasItsIdAndThreeCoordinates) {
  EXPECT_THAT(groundPointsIn("P1 1.5 -2.25 3e2\n"), ElementsAre(ground("P1", 1.5, -2.25, 300)));
}

TEST(GroundPointRead, QuotedIdMayHoldBlanks) {
  EXPECT_THAT(groundPointsIn("\"P 1\"  1.0  2.0  3.0  0.1 0.2 0.3 2"),
              ElementsAre(ground("P 1", 1, 2, 3, 0.1, 0.2, 0.3, 2)));
  EXPECT_THAT(groundPointsIn("\" ;\t\" 1 2 3"), ElementsAre(ground(" ;\t", 1, 2, 3)));
}

TEST(GroundPointRead, QuotedIdMayBeEmptyOrTouchTheNumber) {
  EXPECT_THAT(groundPointsIn("\"\" 1 2 3\n\"P\"4 5 6"), ElementsAre(ground("", 1, 2, 3), ground("P", 4, 5, 6)));
}

TEST(GroundPointRead, PointsStayInTheOrderOfTheFileWithTheirDuplicates) {
  EXPECT_THAT(groundPointsIn("B 1 2 3\nA 4 5 6\nB 7 8 9\n"),
              ElementsAre(ground("B", 1, 2, 3), ground("A", 4, 5, 6), ground("B", 7, 8, 9)));
}

TEST(GroundPointRead, FieldsAreApartByAnyBlanksAndTabs) {
  EXPECT_THAT(groundPointsIn("P\t1 \t 2\t\t3  \n"), ElementsAre(ground("P", 1, 2, 3)));
}

TEST(GroundPointRead, EmptyLinesCommentsAndBlanksAreSkipped) {
  EXPECT_THAT(groundPointsIn("\n; A 1 2 3\n;\n  \t \n\r\nB 1 2 3\n\n"), ElementsAre(ground("B", 1, 2, 3)));
}

TEST(GroundPointRead, SemicolonBehindABlankIsNoComment) {
  EXPECT_THAT(groundPointsIn(" ;x 4 5 6\n\t; 7 8 9"), ElementsAre(ground(";x", 4, 5, 6), ground(";", 7, 8, 9)));
}

TEST(GroundPointRead, QuoteBehindABlankBelongsToTheWord) {
  EXPECT_THAT(groundPointsIn(" \"P\" 1 2 3"), ElementsAre(ground("\"P\"", 1, 2, 3)));
  // The word ends at the blank; 1" is no number.
  EXPECT_THAT(groundPointsIn(" \"P 1\" 2 3"), ElementsAre(ground("\"P", 0, 2, 3)));
}

TEST(GroundPointRead, QuoteThatIsNotClosedSkipsTheLine) {
  EXPECT_THAT(groundPointsIn("\"open 1 2 3\n\"\nB 1 2 3"), ElementsAre(ground("B", 1, 2, 3)));
}

TEST(GroundPointRead, LineThatEndsEarlyGoesOnWithItsLastField) {
  EXPECT_THAT(groundPointsIn("1234\n"), ElementsAre(ground("1234", 1234, 1234, 1234)));
  EXPECT_THAT(groundPointsIn("Q 7"), ElementsAre(ground("Q", 7, 7, 7)));
  EXPECT_THAT(groundPointsIn("Q 7 8"), ElementsAre(ground("Q", 7, 8, 8)));
}

TEST(GroundPointRead, QuotedIdAloneIsAtTheOrigin) {
  EXPECT_THAT(groundPointsIn("\"1234\""), ElementsAre(ground("1234", 0, 0, 0)));
}

TEST(GroundPointRead, SingleWordBehindZIsIgnored) {
  EXPECT_THAT(groundPointsIn("P 1 2 3 0.5\nQ 4 5 6 note  "), ElementsAre(ground("P", 1, 2, 3), ground("Q", 4, 5, 6)));
}

TEST(GroundPointRead, TwoWordsBehindZAreStandardDeviations) {
  // sz is the last field again, and 0.5 is no type.
  EXPECT_THAT(groundPointsIn("P 1 2 3 0.25 0.5"), ElementsAre(ground("P", 1, 2, 3, 0.25, 0.5, 0.5, 0)));
}

TEST(GroundPointRead, LastStandardDeviationIsTheTypeTooWhenNoneIsTold) {
  EXPECT_THAT(groundPointsIn("N 1 2 3 4 5 6"), ElementsAre(ground("N", 1, 2, 3, 4, 5, 6, 6)));
  EXPECT_THAT(groundPointsIn("N 1 2 3 4 5 0.6"), ElementsAre(ground("N", 1, 2, 3, 4, 5, 0.6, 0)));
}

TEST(GroundPointRead, TypesOfOneDigitAreTaken) {
  for (int type = 0; type <= 7; ++type) {
    EXPECT_EQ(typeIn("P 1 2 3 4 5 6 " + std::to_string(type)), type);
  }
  EXPECT_EQ(typeIn("P 1 2 3 4 5 6.0 +3"), 3);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 6.0 003"), 3);
}

TEST(GroundPointRead, OtherTypesAreTheLast) {
  for (char const* type :
       {"8", "9", "-1", "12", "-12", "2147483648", "99999999999999999999", "-99999999999999999999"}) {
    EXPECT_EQ(typeIn("P 1 2 3 4 5 6.0000000000000000000000 " + std::string(type)), 7) << type;
  }
}

TEST(GroundPointRead, TypeThatIsNoWholeNumberIsZero) {
  for (char const* type : {"x", "2.5", "2x", "0x2", "+", "-", "--2", "+-2", "1 2", "2,"}) {
    EXPECT_EQ(typeIn("P 1 2 3 4 5 6.000 " + std::string(type)), 0) << type;
  }
}

// No more characters belong to the type than sz has.
TEST(GroundPointRead, NarrowStandardDeviationShortensTheType) {
  EXPECT_EQ(typeIn("P 1 2 3 4 5 1 12"), 1);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 10 12"), 7);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 1 -3"), 0);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 1 2x"), 2);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 10 2 x"), 2);
  EXPECT_EQ(typeIn("P 1 2 3 4 5 100 2 x"), 0);
  // A character may have two bytes.
  EXPECT_EQ(typeIn("P 1 2 3 4 5 \u00E4 12"), 1);
}

TEST(GroundPointRead, NumbersThatAreNoneAreZero) {
  for (char const* word :
       {"x", "1,5", "1.5m", "0x10", "1e", "--1", "+-1", "1_0", "1.2.3", "infinity", "nan(1)", "-nan"}) {
    EXPECT_THAT(groundPointsIn("P " + std::string(word) + " 2 3"), ElementsAre(ground("P", 0, 2, 3))) << word;
  }
}

TEST(GroundPointRead, NumbersHaveTheFormsOfTheCLocale) {
  EXPECT_THAT(groundPointsIn("P +1.5 .5 1.\nQ 1E+3 1e-3 -0.25"),
              ElementsAre(ground("P", 1.5, 0.5, 1), ground("Q", 1000, 0.001, -0.25)));
  auto const points = groundPointsIn("P inf -inf nan");
  ASSERT_EQ(points.size(), 1U);
  EXPECT_EQ(points[0].x, std::numeric_limits<double>::infinity());
  EXPECT_EQ(points[0].y, -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(points[0].z));
}

TEST(GroundPointRead, NumbersAreTheNearestDoubles) {
  EXPECT_THAT(groundPointsIn("P 0.1 123456789.123456789 4.35"),
              ElementsAre(ground("P", 0.1, 123456789.123456789, 4.35)));
}

TEST(GroundPointRead, ClearTellsWhetherThePointsOfTheListStay) {
  test::TempFolder const folder;
  std::string const file = folder.file("p.gpt", "B 4 5 6\n");
  GroundPointList list({ground("A", 1, 2, 3)});
  EXPECT_EQ(list.read(file, false), 0);
  EXPECT_THAT(list.points(), ElementsAre(ground("A", 1, 2, 3), ground("B", 4, 5, 6)));
  EXPECT_EQ(list.read(file, true), 0);
  EXPECT_THAT(list.points(), ElementsAre(ground("B", 4, 5, 6)));
  GroundPointList empty;
  EXPECT_EQ(empty.read(file, false), 0);
  EXPECT_THAT(empty.points(), ElementsAre(ground("B", 4, 5, 6)));
}

TEST(GroundPointRead, EmptyFileClears) {
  test::TempFolder const folder;
  GroundPointList list({ground("A", 1, 2, 3)});
  EXPECT_EQ(list.read(folder.file("p.gpt", ""), true), 0);
  EXPECT_THAT(list.points(), IsEmpty());
}

}  // namespace
