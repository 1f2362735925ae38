// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace {

using sensor::GroundPointList;
using test::ground;
using testing::ElementsAre;
using testing::IsEmpty;

geo::GroundPoint const a = ground("A", 1, 2, 3, 0.1, 0.2, 0.3, 4);
geo::GroundPoint const b = ground("B", 10, 20, 30);
geo::GroundPoint const otherA = ground("A", 100, 200, 300);

TEST(GroundPointList, IsEmptyAtFirst) {
  GroundPointList const list;
  EXPECT_EQ(list.numPoints(), 0);
  EXPECT_THAT(list.points(), IsEmpty());
}

TEST(GroundPointList, TakesACopyOfPoints) {
  std::vector<geo::GroundPoint> points{b, a};
  GroundPointList const list(points);
  points.clear();
  EXPECT_THAT(list.points(), ElementsAre(b, a));
  EXPECT_EQ(list.numPoints(), 2);
}

TEST(GroundPointList, CopiesAreApart) {
  GroundPointList list({a});
  GroundPointList copy = list;
  list.addPoint(b);
  EXPECT_THAT(copy.points(), ElementsAre(a));
  copy = list;
  list.removePoint(0);
  EXPECT_THAT(copy.points(), ElementsAre(a, b));
}

TEST(GroundPointList, AddsPointsBehindTheOthersInTheOrderOfTheCalls) {
  GroundPointList list;
  EXPECT_EQ(list.addPoint(b), 0);
  EXPECT_EQ(list.addPoint(a), 0);
  EXPECT_EQ(list.addPoints({otherA, b}, false), 0);
  EXPECT_THAT(list.points(), ElementsAre(b, a, otherA, b));
}

TEST(GroundPointList, TakesPointsIntoAnEmptyList) {
  GroundPointList list;
  EXPECT_EQ(list.addPoints({otherA, b}, false), 0);
  EXPECT_THAT(list.points(), ElementsAre(otherA, b));
}

TEST(GroundPointList, ReplacesPointsWhenAsked) {
  GroundPointList list({a, b});
  EXPECT_EQ(list.addPoints({otherA}, true), 0);
  EXPECT_THAT(list.points(), ElementsAre(otherA));
}

TEST(GroundPointList, AddsItsOwnPointsAgain) {
  GroundPointList list({a, b});
  list.addPoints(list.points(), false);
  EXPECT_THAT(list.points(), ElementsAre(a, b, a, b));
}

TEST(GroundPointList, KeepsPointsOfTheSameIdAndFindsTheFirst) {
  GroundPointList const list({b, otherA, a});
  geo::GroundPoint found;
  EXPECT_EQ(list.groundPoint("A", found), 0);
  EXPECT_EQ(found, otherA);
  EXPECT_EQ(list.numPoints(), 3);
}

TEST(GroundPointList, FindsExactIdsOnly) {
  GroundPointList const list({a});
  geo::GroundPoint found = b;
  for (char const* id : {"a", "A ", "", "AA"}) {
    EXPECT_EQ(list.groundPoint(id, found), 1) << id;
  }
  EXPECT_EQ(found, b);
}

TEST(GroundPointList, IndexGivesThePointItself) {
  GroundPointList list({a, b});
  list[1].x = 11;
  EXPECT_THAT(list.points(), ElementsAre(a, ground("B", 11, 20, 30)));
}

TEST(GroundPointList, RemovedPointLeavesTheOrderOfTheOthers) {
  GroundPointList list({a, b, otherA});
  list.removePoint(1);
  EXPECT_THAT(list.points(), ElementsAre(a, otherA));
  list.removePoint(0);
  EXPECT_THAT(list.points(), ElementsAre(otherA));
}

// The counter belongs to the process: a process of its own shows where it begins.
TEST(GroundPointListDeathTest, UniqueIdsCountFromOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto const printTwo = [] {
    std::cerr << GroundPointList::createUniqueID() << ' ';
    std::cerr << GroundPointList::createUniqueID() << '.';
    std::exit(0);
  };
  EXPECT_EXIT(printTwo(), testing::ExitedWithCode(0), "^New-1 New-2\\.$");
}

TEST(GroundPointList, UniqueIdMayBeThatOfAPoint) {
  std::string const id = GroundPointList::createUniqueID();
  int const number = std::stoi(id.substr(4));
  std::string const next = "New-" + std::to_string(number + 1);
  GroundPointList const list({ground(next, 1, 2, 3)});
  EXPECT_EQ(GroundPointList::createUniqueID(), next);
}

}  // namespace
