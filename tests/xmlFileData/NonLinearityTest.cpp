// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/KesBLookUp.h>
#include <xmlFileData/NonLinearity.h>

#include <cstdint>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using xmlFileData::KesBLookUp;
using xmlFileData::NonLinearity;

TEST(NonLinearity, HasTheColumnsAndThePairsOfALookUp) {
  NonLinearity const entry(KesBLookUp(6000, 5976, {0.0, 5000.0, 16383.0}, {1.0, 4985.0, 16380.0}));
  EXPECT_EQ(entry.columnStart, 6000);
  EXPECT_EQ(entry.columnEnd, 11976);
  EXPECT_THAT(entry.points, ElementsAre(Pair(0.0, 1.0), Pair(5000.0, 4985.0), Pair(16383.0, 16380.0)));
}

TEST(NonLinearity, OfAnEmptyTableHasNoPairs) {
  NonLinearity const entry(KesBLookUp(3, 4, {}, {}));
  EXPECT_EQ(entry.columnEnd, 7);
  EXPECT_THAT(entry.points, IsEmpty());
}

TEST(NonLinearity, RefusesListsOfDifferentLengths) {
  EXPECT_MESSAGE(NonLinearity(0, 5, {1.0, 2.0}, {1.0}), "Internal error. Bad non linear correction format.");
  EXPECT_MESSAGE(NonLinearity(0, 5, {}, {1.0}), "Internal error. Bad non linear correction format.");
}

TEST(NonLinearity, EndsAtTheLastNumberWhereTheColumnsGoOnBehindIt) {
  EXPECT_EQ(NonLinearity(INT32_MAX, 1, {}, {}).columnEnd, INT32_MAX);
  EXPECT_EQ(NonLinearity(INT32_MIN, -1, {}, {}).columnEnd, INT32_MIN);
}

}  // namespace
