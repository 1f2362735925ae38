// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/KesBLookUp.h>
#include <xmlFileData/LookUp.h>

#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xmlFileData::KesBLookUp;
using xmlFileData::LookUp;

using Numbers = std::vector<double>;

static_assert(std::has_virtual_destructor_v<LookUp>);
static_assert(std::is_nothrow_move_constructible_v<KesBLookUp>);

LookUp withTable(Numbers const& from, Numbers const& to) {
  return {10, 20, 30, 40, from, to};
}

TEST(LookUp, BeginsEmpty) {
  LookUp const lookUp;
  EXPECT_EQ(lookUp.columnStart(), 0);
  EXPECT_EQ(lookUp.rowStart(), 0);
  EXPECT_EQ(lookUp.columns(), 0);
  EXPECT_EQ(lookUp.rows(), 0);
  EXPECT_THAT(lookUp.from(), IsEmpty());
  EXPECT_THAT(lookUp.to(), IsEmpty());
}

TEST(LookUp, HasTheRangeAndTheTableThatItIsMadeOf) {
  LookUp const lookUp(10, 20, 30, 40, {1.0, 2.0}, {5.0, 4.0});
  EXPECT_EQ(lookUp.columnStart(), 10);
  EXPECT_EQ(lookUp.rowStart(), 20);
  EXPECT_EQ(lookUp.columns(), 30);
  EXPECT_EQ(lookUp.rows(), 40);
  EXPECT_THAT(lookUp.from(), ElementsAre(1.0, 2.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(5.0, 4.0));
}

TEST(LookUp, ReplacesItsTable) {
  LookUp lookUp = withTable({1.0, 2.0}, {3.0, 4.0});
  lookUp.setTable({5.0, 6.0, 7.0}, {9.0, 8.0, 7.5});
  EXPECT_THAT(lookUp.from(), ElementsAre(5.0, 6.0, 7.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(9.0, 8.0, 7.5));
}

TEST(LookUp, AcceptsOneValueAndNone) {
  LookUp lookUp = withTable({1.0, 2.0}, {3.0, 4.0});
  lookUp.setTable({-5.0}, {7.0});
  EXPECT_THAT(lookUp.from(), ElementsAre(-5.0));
  lookUp.setTable({std::numeric_limits<double>::quiet_NaN()}, {7.0});
  EXPECT_EQ(lookUp.from().size(), 1U);
  lookUp.setTable({}, {});
  EXPECT_THAT(lookUp.from(), IsEmpty());
  EXPECT_THAT(lookUp.to(), IsEmpty());
}

TEST(LookUp, AcceptsEqualNeighbours) {
  LookUp lookUp;
  lookUp.setTable({1.0, 2.0, 2.0, 3.0}, {1.0, 2.0, 3.0, 4.0});
  EXPECT_THAT(lookUp.from(), ElementsAre(1.0, 2.0, 2.0, 3.0));
}

TEST(LookUp, RefusesInputsThatFallAndKeepsItsTable) {
  LookUp lookUp = withTable({1.0, 2.0}, {3.0, 4.0});
  EXPECT_MESSAGE(lookUp.setTable({1.0, 3.0, 2.0}, {1.0, 2.0, 3.0}), "From must be in increasing order");
  EXPECT_MESSAGE(lookUp.setTable({2.0, 1.0}, {1.0, 2.0}), "From must be in increasing order");
  EXPECT_THAT(lookUp.from(), ElementsAre(1.0, 2.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(3.0, 4.0));
}

TEST(LookUp, LetsOutputsFall) {
  LookUp lookUp;
  lookUp.setTable({1.0, 2.0}, {9.0, 3.0});
  EXPECT_THAT(lookUp.to(), ElementsAre(9.0, 3.0));
}

TEST(LookUp, RefusesVectorsOfOtherLengthsBeforeItLooksAtTheirOrder) {
  LookUp lookUp = withTable({1.0, 2.0}, {3.0, 4.0});
  EXPECT_MESSAGE(lookUp.setTable({3.0, 2.0, 1.0}, {1.0, 2.0}), "Vectors must have same size");
  EXPECT_MESSAGE(lookUp.setTable({1.0}, {}), "Vectors must have same size");
  EXPECT_MESSAGE(lookUp.setTable({}, {1.0}), "Vectors must have same size");
  EXPECT_THAT(lookUp.from(), ElementsAre(1.0, 2.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(3.0, 4.0));
}

TEST(LookUp, IsMadeByTheSameRules) {
  EXPECT_MESSAGE(withTable({1.0}, {1.0, 2.0}), "Vectors must have same size");
  EXPECT_MESSAGE(withTable({1.0, 0.5}, {1.0, 2.0}), "From must be in increasing order");
  EXPECT_MESSAGE(KesBLookUp(0, 5, {1.0}, {}), "Vectors must have same size");
  EXPECT_MESSAGE(KesBLookUp(0, 5, {1.0, 0.5}, {1.0, 2.0}), "From must be in increasing order");
}

TEST(LookUp, TakesItsOwnVectorsAsATable) {
  LookUp lookUp = withTable({1.0, 2.0}, {3.0, 4.0});
  lookUp.setTable(lookUp.to(), lookUp.from());
  EXPECT_THAT(lookUp.from(), ElementsAre(3.0, 4.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(1.0, 2.0));
}

TEST(LookUp, IsEqualWhenTheTablesAgreeToWholeNumbers) {
  LookUp const lookUp = withTable({10.0, 20.0}, {30.0, 40.0});
  EXPECT_TRUE(lookUp == withTable({10.0, 20.4}, {30.0, 40.0}));
  EXPECT_TRUE(lookUp == withTable({10.0, 20.0}, {29.6, 40.0}));
  EXPECT_FALSE(lookUp == withTable({10.0, 20.6}, {30.0, 40.0}));
  EXPECT_FALSE(lookUp == withTable({10.0, 20.0}, {29.4, 40.0}));
  EXPECT_FALSE(lookUp != withTable({10.0, 20.4}, {30.0, 40.0}));
  EXPECT_TRUE(lookUp != withTable({10.0, 20.6}, {30.0, 40.0}));
}

TEST(LookUp, IsNotEqualWhenAnyNumberOfTheRangeDiffers) {
  Numbers const table{1.0, 2.0};
  LookUp const lookUp(1, 2, 3, 4, table, table);
  EXPECT_TRUE(lookUp == LookUp(1, 2, 3, 4, table, table));
  EXPECT_FALSE(lookUp == LookUp(9, 2, 3, 4, table, table));
  EXPECT_FALSE(lookUp == LookUp(1, 9, 3, 4, table, table));
  EXPECT_FALSE(lookUp == LookUp(1, 2, 9, 4, table, table));
  EXPECT_FALSE(lookUp == LookUp(1, 2, 3, 9, table, table));
}

TEST(LookUp, IsNotEqualWhenOneTableIsTheBeginningOfTheOther) {
  EXPECT_FALSE(withTable({1.0, 2.0}, {1.0, 2.0}) == withTable({1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}));
  EXPECT_FALSE(withTable({1.0, 2.0}, {1.0, 2.0}) == withTable({1.0}, {1.0}));
  EXPECT_FALSE(withTable({}, {}) == withTable({1.0}, {1.0}));
  EXPECT_TRUE(withTable({}, {}) == withTable({}, {}));
}

// Equal to everything, so that a call of the inequality shows whether it goes through the table of operations.
class EqualToAll : public LookUp {
public:
  bool operator==(LookUp const& /*other*/) const override { return true; }
};

TEST(LookUp, IsUnequalByTheEqualityOfADerivedClass) {
  EqualToAll const derived;
  LookUp const& lookUp = derived;
  EXPECT_FALSE(lookUp != withTable({1.0}, {1.0}));
}

TEST(KesBLookUp, HasColumnsAndAnswersNoQuestionOnRows) {
  KesBLookUp const lookUp(6000, 5976, {0.0, 5000.0}, {0.0, 4985.0});
  EXPECT_EQ(lookUp.columnStart(), 6000);
  EXPECT_EQ(lookUp.columns(), 5976);
  EXPECT_THAT(lookUp.from(), ElementsAre(0.0, 5000.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(0.0, 4985.0));
  EXPECT_MESSAGE(lookUp.rowStart(), "not implemented");
  EXPECT_MESSAGE(lookUp.rows(), "not implemented");
}

TEST(KesBLookUp, RefusesThroughItsBaseToo) {
  std::unique_ptr<LookUp> const lookUp = std::make_unique<KesBLookUp>(1, 2, Numbers{1.0}, Numbers{1.0});
  EXPECT_MESSAGE(lookUp->rowStart(), "not implemented");
  EXPECT_MESSAGE(lookUp->rows(), "not implemented");
  EXPECT_EQ(lookUp->columns(), 2);
}

TEST(KesBLookUp, EqualsTheGeneralCurveWithRowsOfMinusOneFromZero) {
  KesBLookUp const lookUp(5, 7, {1.0}, {2.0});
  EXPECT_TRUE(lookUp == LookUp(5, 0, 7, -1, {1.0}, {2.0}));
  EXPECT_TRUE(LookUp(5, 0, 7, -1, {1.0}, {2.0}) == lookUp);
  EXPECT_FALSE(lookUp == LookUp(5, 0, 7, 1, {1.0}, {2.0}));
  EXPECT_TRUE(KesBLookUp() == LookUp(0, 0, 0, -1, {}, {}));
}

TEST(KesBLookUp, ComparesWithItsKind) {
  KesBLookUp const lookUp(5, 7, {1.0}, {2.0});
  EXPECT_TRUE(lookUp == KesBLookUp(5, 7, {1.4}, {2.0}));
  EXPECT_TRUE(lookUp != KesBLookUp(5, 7, {1.0}, {2.6}));
  EXPECT_TRUE(lookUp != KesBLookUp(5, 8, {1.0}, {2.0}));
}

TEST(KesBLookUp, ReplacesItsTableByTheSameRules) {
  KesBLookUp lookUp(5, 7, {1.0}, {2.0});
  lookUp.setTable({3.0, 4.0}, {5.0, 6.0});
  EXPECT_MESSAGE(lookUp.setTable({4.0, 3.0}, {5.0, 6.0}), "From must be in increasing order");
  EXPECT_THAT(lookUp.from(), ElementsAre(3.0, 4.0));
  EXPECT_THAT(lookUp.to(), ElementsAre(5.0, 6.0));
}

}  // namespace
