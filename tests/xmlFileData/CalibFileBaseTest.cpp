// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using xmlFileData::CalibFileBase;
using xmlFileData::Creation;
using xmlFileData::KesBPrnuData;
using xmlFileData::System;
using xmlFileData::Version;

static_assert(!std::has_virtual_destructor_v<CalibFileBase>);
static_assert(!std::is_destructible_v<CalibFileBase>, "files aren't deleted through their base");
static_assert(std::is_nothrow_move_constructible_v<xmlFileData::KesBGeoCalibData>);

// The version that a file has after it was given a text.
Version versionOf(std::string const& text) {
  KesBPrnuData file;
  file.setVersion(text);
  return file.version();
}

TEST(CalibFileBase, BeginsAsVersionOneWithoutSystemAndCreation) {
  KesBPrnuData const file;
  EXPECT_EQ(file.version(), (Version{1, 0, 0}));
  EXPECT_FALSE(file.isCommented());
  EXPECT_FALSE(file.hasSystem());
  EXPECT_FALSE(file.hasCreation());
  EXPECT_EQ(file.system(), System{});
  EXPECT_EQ(file.creation(), Creation{});
}

TEST(CalibFileBase, KeepsTheSystemThatItIsGiven) {
  System const system{"HDB00", {{"SensorHead", "90214", "A", "70455"}, {"LensSystem", "3312", "C", "70460"}}};
  KesBPrnuData file;
  file.setSystem(system);
  EXPECT_TRUE(file.hasSystem());
  EXPECT_FALSE(file.hasCreation());
  EXPECT_EQ(file.system(), system);
}

TEST(CalibFileBase, KeepsTheCreationThatItIsGiven) {
  Creation const creation{"Operator", "Works", "Bench", "none", "20100312", "141530", "UTC"};
  KesBPrnuData file;
  file.setCreation(creation);
  EXPECT_TRUE(file.hasCreation());
  EXPECT_FALSE(file.hasSystem());
  EXPECT_EQ(file.creation(), creation);
}

TEST(CalibFileBase, KeepsAnEmptySystemAndCreationAsGiven) {
  KesBPrnuData file;
  file.setSystem({});
  file.setCreation({});
  EXPECT_TRUE(file.hasSystem());
  EXPECT_TRUE(file.hasCreation());
}

TEST(CalibFileBase, IsCommentedWhenToldSo) {
  KesBPrnuData file;
  file.setCommented(true);
  EXPECT_TRUE(file.isCommented());
  file.setCommented(false);
  EXPECT_FALSE(file.isCommented());
}

TEST(CalibFileBase, TakesAVersionAsNumbersAndAsText) {
  KesBPrnuData file;
  file.setVersion(Version{2, 5, 7});
  EXPECT_EQ(file.version(), (Version{2, 5, 7}));
  file.setVersion("13.0.204");
  EXPECT_EQ(file.version(), (Version{13, 0, 204}));
}

TEST(CalibFileBase, RefusesVersionsOfOtherThanThreePieces) {
  for (std::string const text : {"1..0", "1.0.0.0", "", "...", "1", "1.0", "1,0,0"}) {
    EXPECT_MESSAGE(versionOf(text), "No valid version string: " + text);
  }
}

TEST(CalibFileBase, KeepsItsVersionWhenATextIsRefused) {
  KesBPrnuData file;
  file.setVersion(Version{3, 4, 5});
  EXPECT_MESSAGE(file.setVersion("1..0"), "No valid version string: 1..0");
  EXPECT_EQ(file.version(), (Version{3, 4, 5}));
}

TEST(CalibFileBase, CountsDotsWithoutAPieceBetweenThemOnce) {
  EXPECT_EQ(versionOf(".1..2...3."), (Version{1, 2, 3}));
}

TEST(CalibFileBase, ReadsAPieceThatIsNoNumberAsZero) {
  EXPECT_EQ(versionOf("1.x.0"), (Version{1, 0, 0}));
  EXPECT_EQ(versionOf("a.b.c"), (Version{0, 0, 0}));
}

TEST(CalibFileBase, ReadsTheNumberThatAPieceBeginsWith) {
  EXPECT_EQ(versionOf("7beta. 8.-9"), (Version{7, 8, -9}));
}

TEST(CalibFileBase, LimitsNumbersOfAVersionTo32Bits) {
  EXPECT_EQ(versionOf("99999999999.-99999999999.99999999999999999999"), (Version{INT32_MAX, INT32_MIN, INT32_MAX}));
}

TEST(CalibFileBase, WritesAVersionWithDots) {
  EXPECT_EQ(Version{}.text(), "1.0.0");
  EXPECT_EQ((Version{2, 0, 13}.text()), "2.0.13");
}

// Each of `others` differs from `value`, and `value` from none but them.
template <class Value>
void expectDifferentFromAll(Value const& value, std::vector<Value> const& others) {
  EXPECT_TRUE(value == Value(value));
  EXPECT_FALSE(value != Value(value));
  for (Value const& other : others) {
    EXPECT_FALSE(value == other);
    EXPECT_TRUE(value != other);
  }
}

TEST(CalibFileBase, VersionsDifferInAnyNumber) {
  expectDifferentFromAll<Version>({1, 2, 3}, {{0, 2, 3}, {1, 0, 3}, {1, 2, 0}});
}

TEST(CalibFileBase, SystemsDifferInAnyTextAndInOrder) {
  System const system{"T", {{"c", "s", "r", "a"}, {"C", "S", "R", "A"}}};
  std::vector<System> others(7, system);
  others[0].Type = "t";
  others[1].infos[1].Component = "c";
  others[2].infos[1].SerialNo = "s";
  others[3].infos[1].Revision = "r";
  others[4].infos[1].ArticleNo = "a";
  others[5].infos.pop_back();
  std::swap(others[6].infos[0], others[6].infos[1]);
  expectDifferentFromAll(system, others);
}

TEST(CalibFileBase, CreationsDifferInAnyText) {
  Creation const creation{"n", "l", "e", "r", "d", "t", "y"};
  std::vector<Creation> others(7, creation);
  others[0].Name = "";
  others[1].Location = "";
  others[2].Environment = "";
  others[3].Remark = "";
  others[4].Date = "";
  others[5].Time = "";
  others[6].DateTimeType = "";
  expectDifferentFromAll(creation, others);
}

}  // namespace
