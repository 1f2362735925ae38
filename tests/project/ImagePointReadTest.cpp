// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using sensor::ImagePointList;
using test::image;
using test::imagePointsIn;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ImagePointRead, PointHasAQuotedIdFourNumbersAndAFlag) {
  EXPECT_THAT(imagePointsIn("\"P 1\" 10.5 20.25 0.1 0.2 1\n\"Q\"\t1\t2 \t3  4\t0"),
              ElementsAre(image("P 1", 10.5, 20.25, 0.1, 0.2, true), image("Q", 1, 2, 3, 4, false)));
}

TEST(ImagePointRead, LinesAreTrimmedAndEmptyOnesSkipped) {
  EXPECT_THAT(imagePointsIn("\n   \n \t\"P\" 1 2 3 4 1 \r\n\r\n"), ElementsAre(image("P", 1, 2, 3, 4, true)));
}

TEST(ImagePointRead, FirstCharacterIsTakenForTheQuote) {
  EXPECT_THAT(imagePointsIn("P1\" 1 2 3 4 1"), ElementsAre(image("1", 1, 2, 3, 4, true)));
  EXPECT_THAT(imagePointsIn(";P\" 1 2 3 4 1"), ElementsAre(image("P", 1, 2, 3, 4, true)));
  // Its bytes go together.
  EXPECT_THAT(imagePointsIn("\u201CP\" 1 2 3 4 1"), ElementsAre(image("P", 1, 2, 3, 4, true)));
}

TEST(ImagePointRead, LineWithoutAClosingQuoteIsSkipped) {
  EXPECT_THAT(imagePointsIn("\"P 1 2 3 4 1\nP 1 2 3 4 1\n\"\nx\n\"Q\" 5 6 7 8 1"),
              ElementsAre(image("Q", 5, 6, 7, 8, true)));
}

TEST(ImagePointRead, FlagIsSetByALeadingOne) {
  EXPECT_THAT(
      imagePointsIn("\"A\" 1 2 3 4 10\n\"B\" 1 2 3 4 1 0\n\"C\" 1 2 3 4 01\n\"D\" 1 2 3 4 true\n\"E\" 1 2 3 4 2"),
      ElementsAre(image("A", 1, 2, 3, 4, true), image("B", 1, 2, 3, 4, true), image("C", 1, 2, 3, 4, false),
                  image("D", 1, 2, 3, 4, false), image("E", 1, 2, 3, 4, false)));
}

TEST(ImagePointRead, LineThatEndsEarlyGoesOnWithItsLastField) {
  EXPECT_THAT(imagePointsIn("\"A\" 5\n\"B\" 5 6\n\"C\" 5 6 1.5\n\"D\" 5 6 7 8\n\"E\""),
              ElementsAre(image("A", 5, 5, 5, 5, false), image("B", 5, 6, 6, 6, false),
                          image("C", 5, 6, 1.5, 1.5, true), image("D", 5, 6, 7, 8, false),
                          image("E", 0, 0, 0, 0, false)));
}

TEST(ImagePointRead, NumbersThatAreNoneAreZero) {
  EXPECT_THAT(imagePointsIn("\"P\" 1,5 x 0x1 -- 1"), ElementsAre(image("P", 0, 0, 0, 0, true)));
}

TEST(ImagePointRead, PointsOfNegativeCoordinatesAreDropped) {
  EXPECT_THAT(imagePointsIn("\"A\" -0.5 3 1 1 1\n\"B\" 3 -0.5 1 1 1\n\"C\" -1e-300 0 1 1 1\n\"D\" 0 7 1 1 1\n"
                            "\"E\" 7 0 1 1 1\n\"F\" -0.0 -0.0 1 1 1"),
              ElementsAre(image("D", 0, 7, 1, 1, true), image("E", 7, 0, 1, 1, true), image("F", 0, 0, 1, 1, true)));
}

TEST(ImagePointRead, CoordinateThatIsNoNumberIsNotNegative) {
  auto const points = imagePointsIn("\"A\" nan 3 1 1 1");
  ASSERT_EQ(points.size(), 1U);
  EXPECT_TRUE(std::isnan(points[0].x));
}

TEST(ImagePointRead, ClearTellsWhetherThePointsOfTheListStay) {
  test::TempFolder const folder;
  std::string const file = folder.file("p.ipt", "\"B\" 4 5 6 7 1\n");
  ImagePointList list({image("A", 1, 2, 3, 4, false)}, "S1", "PANN00A");
  EXPECT_EQ(list.read(file, false), 0);
  EXPECT_THAT(list.points(), ElementsAre(image("A", 1, 2, 3, 4, false), image("B", 4, 5, 6, 7, true)));
  EXPECT_EQ(list.read(file, true), 0);
  EXPECT_THAT(list.points(), ElementsAre(image("B", 4, 5, 6, 7, true)));
  EXPECT_EQ(list.fileName(), "");
}

TEST(ImagePointRead, EmptyFileClears) {
  test::TempFolder const folder;
  ImagePointList list({image("A", 1, 2, 3, 4, false)}, "S1", "PANN00A");
  EXPECT_EQ(list.read(folder.file("p.ipt", ""), true), 0);
  EXPECT_THAT(list.points(), IsEmpty());
}

}  // namespace
