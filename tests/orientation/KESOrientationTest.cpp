// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"

#include <chrono>
#include <functional>

namespace {

using sensor::KESOrientation;
using sensor::seconds;
using test::OdfArrays;
using test::storeOf;

std::int64_t now() {
  auto const sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
}

TEST(KESOrientation, EmptyStoreHasDefaults) {
  std::int64_t const before = now();
  KESOrientation const store;
  EXPECT_EQ(store.fileName(), "");
  EXPECT_EQ(store.version(), "ODF 1.2");
  EXPECT_EQ(store.dataSource() + store.projectName() + store.stripName() + store.comments(), "");
  EXPECT_EQ(store.positionUnits(), 0);
  EXPECT_EQ(store.angularUnits(), 3);
  EXPECT_EQ(store.rotationSequence(), 0);
  EXPECT_GE(store.absoluteTime().value(), before);
  EXPECT_LE(store.absoluteTime().value(), now());
  EXPECT_EQ(store.anchorLatitude(), 100.0);
  EXPECT_EQ(store.anchorLongitude(), 100.0);
  EXPECT_EQ(store.baseTime().value(), 0);
  EXPECT_EQ(store.baseX(), 0);
  EXPECT_EQ(store.baseY(), 0);
  EXPECT_EQ(store.baseZ(), 0);
  EXPECT_EQ(store.numSets(), 0);
  EXPECT_EQ(store.timeScale(), 10000);
  EXPECT_EQ(store.positionScale(), 1000);
  EXPECT_EQ(store.angularScale(), 1000000);
  EXPECT_EQ(store.positionStdDevScale(), 100000);
  EXPECT_EQ(store.angularStdDevScale(), 10000000);
}

TEST(KESOrientation, RecordIsZeroedAndOfFortyBytes) {
  EXPECT_EQ(test::fieldsOf(sensor::odf()), (std::array<long, 13>{}));
  EXPECT_EQ(sizeof(sensor::odf), 40U);
}

TEST(KESOrientation, ValuesThatAreSetComeBack) {
  KESOrientation store;
  store.setFileName("a.odf");
  store.setVersion("ODF 1.0");
  store.setDataSource("source");
  store.setProjectName("project");
  store.setStripName("strip");
  store.setPositionUnits(1);
  store.setRotationSequence(2);
  store.setComments("comments");
  store.setAbsoluteTime(seconds<std::int32_t>(3));
  store.setAnchorPoint(0.4, 0.5);
  store.setBaseTime(seconds<std::int32_t>(6));
  store.setBaseX(7);
  store.setBaseY(8);
  store.setBaseZ(9);
  EXPECT_EQ(store.fileName(), "a.odf");
  EXPECT_EQ(store.version(), "ODF 1.0");
  EXPECT_EQ(store.dataSource(), "source");
  EXPECT_EQ(store.projectName(), "project");
  EXPECT_EQ(store.stripName(), "strip");
  EXPECT_EQ(store.positionUnits(), 1);
  EXPECT_EQ(store.positionScale(), 1000);
  EXPECT_EQ(store.rotationSequence(), 2);
  EXPECT_EQ(store.comments(), "comments");
  EXPECT_EQ(store.absoluteTime().value(), 3);
  EXPECT_EQ(store.anchorLatitude(), 0.4);
  EXPECT_EQ(store.anchorLongitude(), 0.5);
  EXPECT_EQ(store.baseTime().value(), 6);
  EXPECT_EQ(store.baseX(), 7);
  EXPECT_EQ(store.baseY(), 8);
  EXPECT_EQ(store.baseZ(), 9);
}

TEST(KESOrientation, AngularUnitsSetTheAngularScale) {
  KESOrientation store;
  store.setAngularUnits(2);
  EXPECT_EQ(store.angularUnits(), 2);
  EXPECT_EQ(store.angularScale(), 100000000);
  store.setAngularUnits(1);
  EXPECT_EQ(store.angularUnits(), 1);
  EXPECT_EQ(store.angularScale(), 1000000);
}

TEST(KESOrientation, PrecisionIsInDigitsUnderItsKey) {
  KESOrientation store;
  EXPECT_EQ(store.precision(22), 4);
  EXPECT_EQ(store.precision(23), 3);
  EXPECT_EQ(store.precision(24), 6);
  EXPECT_EQ(store.precision(25), 5);
  EXPECT_EQ(store.precision(26), 7);
  for (int key = 22; key <= 26; ++key) {
    for (int digits = 0; digits <= 9; ++digits) {
      store.setPrecision(key, digits);
      EXPECT_EQ(store.precision(key), digits) << key;
    }
    store.setPrecision(key, key - 21);
  }
  EXPECT_EQ(store.timeScale(), 10);
  EXPECT_EQ(store.positionScale(), 100);
  EXPECT_EQ(store.angularScale(), 1000);
  EXPECT_EQ(store.positionStdDevScale(), 10000);
  EXPECT_EQ(store.angularStdDevScale(), 100000);
}

TEST(KESOrientation, UnknownPrecisionIsZeroAndCantBeSet) {
  KESOrientation store;
  KESOrientation const before = store;
  for (int const key : {-1, 0, 21, 27}) {
    store.setPrecision(key, 1);
    EXPECT_EQ(store.precision(key), 0) << key;
  }
  EXPECT_TRUE(store == before);
}

// 10^11 has no room in an int, 10^-1 + 0.5 has no whole part.
TEST(KESOrientation, ScalesBeyondTheirRangeEndThere) {
  KESOrientation store;
  store.setPrecision(22, 11);
  EXPECT_EQ(store.timeScale(), 2147483647);
  store.setPrecision(22, -1);
  EXPECT_EQ(store.timeScale(), 0);
}

TEST(KESOrientation, RecordsAreMadeKeptAndCleared) {
  KESOrientation store = storeOf({{5.0, 1, 2, 3, 4, 5, 6}, {7.0, 1, 2, 3, 4, 5, 6}});
  ASSERT_EQ(store.compress(), 2);
  auto const packed = store.records();
  EXPECT_EQ(store.setNumSets(3, false), 3);
  test::expectRecords(store, {packed[0], packed[1], {}});
  EXPECT_EQ(store.setNumSets(1, false), 1);
  test::expectRecords(store, {packed[0]});
  EXPECT_EQ(store.setNumSets(2, true), 1);
  test::expectRecords(store, {{}, {}});
  store.setNumSets(1, false);
  EXPECT_EQ(store.setNumSets(2), 1);
  test::expectRecords(store, {{}, {}});
}

TEST(KESOrientation, NegativeCountOfRecordsIsNone) {
  KESOrientation store;
  store.setNumSets(2);
  EXPECT_EQ(store.setNumSets(-1, false), -1);
  EXPECT_EQ(store.numSets(), 0);
  EXPECT_EQ(store.setNumSets(-1), 1);
  EXPECT_EQ(store.numSets(), 0);
}

TEST(KESOrientation, CopiesAreDeepAndEqual) {
  KESOrientation const store = storeOf({{5.0, 1, 2, 3, 4, 5, 6}});
  KESOrientation copy = store;
  EXPECT_TRUE(copy == store);
  OdfArrays({{9.0, 1, 2, 3, 4, 5, 6}}).set(copy, 0, 1);
  EXPECT_TRUE(copy != store);
  copy = store;
  EXPECT_TRUE(copy == store);
  copy.setNumSets(5);
  EXPECT_EQ(store.numSets(), 1);
  KESOrientation& same = copy;
  copy = same;
  EXPECT_EQ(copy.numSets(), 5);
}

TEST(KESOrientation, StoresThatDifferInAHeaderValueAreNotEqual) {
  std::vector<std::function<void(KESOrientation&)>> const changes{
      [](auto& s) { s.setFileName("a"); },
      [](auto& s) { s.setVersion("a"); },
      [](auto& s) { s.setDataSource("a"); },
      [](auto& s) { s.setProjectName("a"); },
      [](auto& s) { s.setStripName("a"); },
      [](auto& s) { s.setPositionUnits(1); },
      [](auto& s) { s.setAngularUnits(1); },
      [](auto& s) { s.setRotationSequence(1); },
      [](auto& s) { s.setComments("a"); },
      [](auto& s) { s.setAbsoluteTime(seconds<std::int32_t>(1)); },
      [](auto& s) { s.setBaseTime(seconds<std::int32_t>(1)); },
      [](auto& s) { s.setBaseX(1); },
      [](auto& s) { s.setBaseY(1); },
      [](auto& s) { s.setBaseZ(1); },
      [](auto& s) { s.setPrecision(22, 1); },
      [](auto& s) { s.setPrecision(23, 1); },
      [](auto& s) { s.setPrecision(24, 1); },
      [](auto& s) { s.setPrecision(25, 1); },
      [](auto& s) { s.setPrecision(26, 1); },
      [](auto& s) { s.setAnchorPoint(1.0, 100.0); },
      [](auto& s) { s.setAnchorPoint(100.0, 1.0); },
      [](auto& s) { s.setNumSets(1); }};
  KESOrientation const store;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    KESOrientation other = store;
    changes[i](other);
    EXPECT_FALSE(store == other) << i;
    EXPECT_FALSE(other == store) << i;
  }
}

TEST(KESOrientation, StoresThatDifferInARecordAreNotEqual) {
  KESOrientation store;
  store.setNumSets(2);
  KESOrientation other = store;
  EXPECT_TRUE(store == other);
  test::setStdDevs(other, 1, {0, 0, 0, 0, 0, 1e-5F});
  EXPECT_FALSE(store == other);
}

TEST(KESOrientation, InternalVectorsCountWhenTheRightHandStoreHasThem) {
  KESOrientation without;
  without.setNumSets(1);
  KESOrientation with = without;
  OdfArrays({{1, 2, 3, 4, 5, 6, 7}}).set(with, 0, 1);
  EXPECT_TRUE(with == without);
  EXPECT_FALSE(without == with);
  KESOrientation other = with;
  for (test::OdfValues const& values : std::vector<test::OdfValues>{{9, 2, 3, 4, 5, 6, 7},
                                                                    {1, 9, 3, 4, 5, 6, 7},
                                                                    {1, 2, 9, 4, 5, 6, 7},
                                                                    {1, 2, 3, 9, 5, 6, 7},
                                                                    {1, 2, 3, 4, 9, 6, 7},
                                                                    {1, 2, 3, 4, 5, 9, 7},
                                                                    {1, 2, 3, 4, 5, 6, 9}}) {
    OdfArrays({values}).set(other, 0, 1);
    EXPECT_FALSE(with == other);
  }
}

}  // namespace
