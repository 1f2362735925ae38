// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"
#include "support/TempFolder.h"

#include <climits>
#include <cmath>
#include <limits>
#include <tuple>

namespace {

using sensor::KESOrientation;
using sensor::odf;
using test::OdfArrays;
using test::OdfValues;
using test::SameBits;
using test::storeOf;

// Two values of one quantity around a base of 0, so that the first one's packed value shows.
KESOrientation storeOfX(double x) {
  return storeOf({{0, x, 0, 0, 0, 0, 0}, {0, -x, 0, 0, 0, 0, 0}});
}

// What packing changes at most: a unit of times, the coarsest of all.
constexpr double unit = 1.000001e-4;

TEST(KESOrientationPacking, BasesAreTheMiddlesOfTheRanges) {
  KESOrientation store =
      storeOf({{100.5, 10, -200, 3000, 0, 0, 0}, {104.9, 21, -301, 3009, 0, 0, 0}, {101.0, 5, -250, 2000, 0, 0, 0}});
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.baseTime().value(), 102);  // 205.4 / 2 = 102.7
  EXPECT_EQ(store.baseX(), 13);              // 26 / 2
  EXPECT_EQ(store.baseY(), -250);            // -501 / 2 = -250.5, towards zero
  EXPECT_EQ(store.baseZ(), 2504);            // 5009 / 2 = 2504.5
}

TEST(KESOrientationPacking, ValuesLessTheirBaseAreScaledIntoTheirFields) {
  KESOrientation store =
      storeOf({{100.25, 10.5, -200.25, 3000.125, 0.25, -0.5, 1.5}, {101.75, 12.5, -204.25, 3004.125, 1, 2, 3}});
  store.setPrecision(22, 2);
  store.setPrecision(23, 3);
  store.setPrecision(24, 5);
  ASSERT_EQ(store.compress(), 2);
  odf expected;
  expected.t = -75 + 1;    // (100.25 - 101) * 100 = -75; + 0.5, the fraction dropped towards zero
  expected.x = -500 + 1;   // base 11
  expected.y = 1750;       // base -202
  expected.z = -1875 + 1;  // base 3002
  expected.omega = 25000;
  expected.phi = -50000 + 1;
  expected.kappa = 150000;
  EXPECT_EQ(test::fieldsOf(store.records()[0]), test::fieldsOf(expected));
}

TEST(KESOrientationPacking, NegativeValuesAreRoundedTowardsZeroOnceHalfIsAdded) {
  KESOrientation store = storeOfX(-0.0004);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.records()[0].x, 0);  // -0.4 + 0.5 = 0.1
  store = storeOfX(-0.0017);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.records()[0].x, -1);  // -1.7 + 0.5 = -1.2
  EXPECT_EQ(store.records()[1].x, 2);   // 1.7 + 0.5 = 2.2
}

TEST(KESOrientationPacking, EachQuantityHasItsCodeOutOfRange) {
  constexpr double end = 2147483647.0;
  std::vector<OdfValues> const atTheEnd{{end, 0, 0, 0, 0, 0, 0}, {0, end, 0, 0, 0, 0, 0}, {0, 0, end, 0, 0, 0, 0},
                                        {0, 0, 0, end, 0, 0, 0}, {0, 0, 0, 0, end, 0, 0}, {0, 0, 0, 0, 0, end, 0},
                                        {0, 0, 0, 0, 0, 0, end}};
  for (std::size_t i = 0; i < atTheEnd.size(); ++i) {
    OdfValues const& high = atTheEnd[i];
    OdfValues const low{-high.t, -high.x, -high.y, -high.z, -high.omega, -high.phi, -high.kappa};
    KESOrientation store = storeOf({high, low});
    for (int key = 22; key <= 24; ++key) {
      store.setPrecision(key, 0);
    }
    EXPECT_EQ(store.compress(), 4 + static_cast<int>(i));
  }
}

TEST(KESOrientationPacking, LargestPackedValuesHaveRoom) {
  KESOrientation store = storeOf({{0, 2147483646.25, 0, 0, 0, 0, 0}, {0, -2147483646.25, 0, 0, 0, 0, 0}});
  store.setPrecision(23, 0);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.records()[0].x, 2147483646);
  EXPECT_EQ(store.records()[1].x, -2147483645);
  store = storeOf({{0, 2147483646.75, 0, 0, 0, 0, 0}, {0, -2147483646.75, 0, 0, 0, 0, 0}});
  store.setPrecision(23, 0);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.records()[0].x, 2147483647);
}

TEST(KESOrientationPacking, WhatComesBeforeAnOverflowStaysPacked) {
  KESOrientation store = storeOf({{0, 1, 2, 3, 4, 5, 6}, {2, 3, 4, 5, 4, 3000, 6}, {4, 5, 6, 7, 8, 9, 10}});
  EXPECT_EQ(store.compress(), 9);
  EXPECT_EQ(store.baseX(), 3);
  EXPECT_EQ(store.records()[0].kappa, 6000000);
  EXPECT_EQ(store.records()[1].omega, 4000000);
  EXPECT_EQ(store.records()[1].phi, 0);
  EXPECT_EQ(test::fieldsOf(store.records()[2]), test::fieldsOf({}));
}

TEST(KESOrientationPacking, StandardDeviationsAreLeftAlone) {
  KESOrientation store = storeOf({{0, 1, 2, 3, 4, 5, 6}});
  test::setStdDevs(store, 0, {1e-5F, 2e-5F, 3e-5F, 4e-7F, 5e-7F, 6e-7F});
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.records()[0].stdDevX, 1);
  EXPECT_EQ(store.records()[0].stdDevKappa, 6);
}

TEST(KESOrientationPacking, WithoutRecordsPositionBasesBecomeZero) {
  KESOrientation store;
  store.setBaseTime(sensor::seconds<std::int32_t>(5));
  store.setBaseX(5);
  store.setBaseY(5);
  store.setBaseZ(5);
  EXPECT_EQ(store.compress(), 2);
  EXPECT_EQ(store.baseTime().value(), 5);
  EXPECT_EQ(store.baseX(), 0);
  EXPECT_EQ(store.baseY(), 0);
  EXPECT_EQ(store.baseZ(), 0);
}

TEST(KESOrientationPacking, WithoutRecordsTimesStillMoveTheirBase) {
  KESOrientation store = storeOf({{10, 1, 2, 3, 4, 5, 6}, {20, 1, 2, 3, 4, 5, 6}});
  store.setNumSets(0);
  EXPECT_EQ(store.compress(), 2);
  EXPECT_EQ(store.baseTime().value(), 15);
  EXPECT_EQ(store.baseX(), 0);
}

TEST(KESOrientationPacking, RecordsWithoutInternalVectorsStayAsTheyAre) {
  test::TempFolder const folder;
  KESOrientation store(folder.file("a.odf", test::OdfFile().bytes()));
  KESOrientation const before = store;
  EXPECT_EQ(store.compress(), 2);
  EXPECT_TRUE(store == before);
}

TEST(KESOrientationPacking, InternalVectorsThatAreTooShortChangeNothing) {
  KESOrientation store = storeOf({{10, 1, 2, 3, 4, 5, 6}});
  ASSERT_EQ(store.compress(), 2);
  KESOrientation const before = store;
  store.setNumSets(2, false);
  EXPECT_EQ(store.compress(), 2);
  EXPECT_EQ(store.baseTime(), before.baseTime());
  test::expectRecords(store, {before.records()[0], {}});
}

TEST(KESOrientationPacking, NumbersThatAreNoneArePackedAsZero) {
  double const nan = std::nan("");
  KESOrientation store = storeOf({{nan, nan, nan, nan, nan, nan, nan}});
  EXPECT_EQ(store.compress(), 2);
  EXPECT_EQ(test::fieldsOf(store.records()[0]), test::fieldsOf({}));
}

TEST(KESOrientationPacking, InfiniteValuesAreOutOfRange) {
  double const infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(storeOf({{infinity, 0, 0, 0, 0, 0, 0}}).compress(), 4);
  EXPECT_EQ(storeOf({{0, 0, 0, 0, 0, 0, -infinity}}).compress(), 10);
}

TEST(KESOrientationPacking, ValuesAreUnpackedInDouble) {
  test::TempFolder const folder;
  KESOrientation const store(folder.file("a.odf", test::OdfFile().bytes()));
  // Record 3: t 15, x 3001, y -5998, z 903, omega 37, phi -31, kappa 45; scales 10, 100, 2000; bases 1000, -7, 8, 9.
  EXPECT_THAT(store.t(3).value(), SameBits(15.0 / 10.0 + 1000.0));
  EXPECT_THAT(store.x(3), SameBits(3001.0 / 100.0 + -7.0));
  EXPECT_THAT(store.y(3), SameBits(-5998.0 / 100.0 + 8.0));
  EXPECT_THAT(store.z(3), SameBits(903.0 / 100.0 + 9.0));
  EXPECT_THAT(store.omega(3), SameBits(37.0 / 2000.0));
  EXPECT_THAT(store.phi(3), SameBits(-31.0 / 2000.0));
  EXPECT_THAT(store.kappa(3), SameBits(45.0 / 2000.0));
}

TEST(KESOrientationPacking, RangesOfRecordsAreUnpacked) {
  test::TempFolder const folder;
  KESOrientation store(folder.file("a.odf", test::OdfFile().bytes()));
  OdfArrays out(2);
  ASSERT_EQ(out.get(store, 2, 2), 1);
  for (int i = 0; i < 2; ++i) {
    auto const k = static_cast<std::size_t>(i);
    EXPECT_EQ(out.t[k], store.t(2 + i));
    EXPECT_EQ(out.x[k], store.x(2 + i));
    EXPECT_EQ(out.y[k], store.y(2 + i));
    EXPECT_EQ(out.z[k], store.z(2 + i));
    EXPECT_EQ(out.omega[k], store.omega(2 + i));
    EXPECT_EQ(out.phi[k], store.phi(2 + i));
    EXPECT_EQ(out.kappa[k], store.kappa(2 + i));
  }
  EXPECT_EQ(out.get(store, 4, 0), 1);
  EXPECT_EQ(out.get(store, 3, 2), 0);
  EXPECT_EQ(out.get(store, -1, 1), 0);
  EXPECT_EQ(out.get(store, LONG_MAX, LONG_MAX), 0);
}

TEST(KESOrientationPacking, InternalVectorsAreMadeFromRecords) {
  test::TempFolder const folder;
  KESOrientation store(folder.file("a.odf", test::OdfFile().bytes()));
  KESOrientation filled = store;
  filled.CalculateInternalVectors();
  OdfArrays values(4);
  ASSERT_EQ(values.get(store, 0, 4), 1);
  values.set(store, 0, 4);
  EXPECT_TRUE(store == filled);
}

TEST(KESOrientationPacking, ArraysUpToTheLastRecordAreAccepted) {
  KESOrientation store = storeOf({{1, 0, 0, 0, 0, 0, 0}, {2, 0, 0, 0, 0, 0, 0}, {3, 0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(OdfArrays({{8, 1, 2, 3, 4, 5, 6}, {9, 1, 2, 3, 4, 5, 6}}).set(store, 1, 2), 1);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_NEAR(store.t(0).value(), 1.0, unit);
  EXPECT_NEAR(store.t(1).value(), 8.0, unit);
  EXPECT_NEAR(store.t(2).value(), 9.0, unit);
}

TEST(KESOrientationPacking, ArraysBeyondTheRecordsAreRefused) {
  KESOrientation store = storeOf({{1, 0, 0, 0, 0, 0, 0}, {2, 0, 0, 0, 0, 0, 0}});
  KESOrientation const before = store;
  OdfArrays const values({{8, 1, 2, 3, 4, 5, 6}, {9, 1, 2, 3, 4, 5, 6}});
  EXPECT_EQ(values.set(store, 1, 2), -1);
  EXPECT_EQ(values.set(store, 3, 0), -1);
  EXPECT_EQ(values.set(store, -1, 4), -1);
  EXPECT_EQ(values.set(store, 4, -1), -1);
  EXPECT_EQ(values.set(store, LONG_MAX, LONG_MAX), -1);
  EXPECT_EQ(values.set(store, LONG_MAX, LONG_MIN + 4), -1);  // the end is 3
  EXPECT_TRUE(store == before);
}

// Only an end beyond the records is refused.
TEST(KESOrientationPacking, ArraysFromBeforeTheFirstRecordLeaveOutWhatHasNoPlace) {
  KESOrientation store = storeOf({{1, 0, 0, 0, 0, 0, 0}, {2, 0, 0, 0, 0, 0, 0}});
  KESOrientation const before = store;
  OdfArrays const values({{8, 1, 2, 3, 4, 5, 6}, {9, 1, 2, 3, 4, 5, 6}});
  EXPECT_EQ(values.set(store, -1, 0), 1);
  EXPECT_EQ(values.set(store, -1, 1), 1);
  EXPECT_EQ(values.set(store, 2, 0), 1);
  EXPECT_EQ(values.set(store, 0, -1), 1);
  EXPECT_EQ(values.set(store, 3, -1), 1);
  EXPECT_EQ(values.set(store, LONG_MIN, LONG_MIN), 1);
  EXPECT_TRUE(store == before);
  EXPECT_EQ(values.set(store, -1, 2), 1);
  EXPECT_TRUE(store == storeOf({{9, 1, 2, 3, 4, 5, 6}, {2, 0, 0, 0, 0, 0, 0}}));
}

// No values are copied, but the vectors are there from then on.
TEST(KESOrientationPacking, NoArraysAtAllMakeVectorsOfZeros) {
  KESOrientation store;
  store.setNumSets(2);
  EXPECT_EQ(OdfArrays(1).set(store, -1, 0), 1);
  EXPECT_TRUE(store == storeOf({{}, {}}));
}

TEST(KESOrientationPacking, ValuesThatAreNotGivenStartAsZeros) {
  KESOrientation store;
  store.setNumSets(3);
  ASSERT_EQ(OdfArrays({{8, 1, 2, 3, 4, 5, 6}}).set(store, 1, 1), 1);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_NEAR(store.t(0).value(), 0.0, unit);
  EXPECT_NEAR(store.t(1).value(), 8.0, unit);
  EXPECT_NEAR(store.kappa(1), 6.0, unit);
  EXPECT_NEAR(store.kappa(2), 0.0, unit);
}

TEST(KESOrientationPacking, VectorsGrowWithTheRecords) {
  KESOrientation store = storeOf({{1, 0, 0, 0, 0, 0, 0}});
  store.setNumSets(3, false);
  ASSERT_EQ(OdfArrays({{8, 1, 2, 3, 4, 5, 6}}).set(store, 2, 1), 1);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_NEAR(store.t(0).value(), 1.0, unit);
  EXPECT_NEAR(store.t(1).value(), 0.0, unit);
  EXPECT_NEAR(store.t(2).value(), 8.0, unit);
}

TEST(KESOrientationPacking, ZRangeIsInWholeUnits) {
  KESOrientation store = storeOf({{0, 0, 0, 10.9, 0, 0, 0}, {0, 0, 0, -10.9, 0, 0, 0}, {0, 0, 0, 3.2, 0, 0, 0}});
  ASSERT_EQ(store.compress(), 2);
  double min = 0;
  double max = 0;
  store.zRange(min, max);
  EXPECT_EQ(min, -10.0);
  EXPECT_EQ(max, 10.0);
  store.setBaseZ(100);
  store.zRange(min, max);
  EXPECT_EQ(min, 90.0);
  EXPECT_EQ(max, 110.0);
}

TEST(KESOrientationPacking, ZRangeOfAnEmptyStoreIsTheBase) {
  KESOrientation store;
  store.setBaseZ(7);
  double min = 0;
  double max = 0;
  store.zRange(min, max);
  EXPECT_EQ(min, 7.0);
  EXPECT_EQ(max, 7.0);
}

TEST(KESOrientationPacking, ScaleOfZeroGivesNumbersThatAreNotFinite) {
  test::TempFolder const folder;
  KESOrientation const store(folder.file("a.odf", test::OdfFile().with(194, "0").bytes()));
  double min = 0;
  double max = 0;
  store.zRange(min, max);
  EXPECT_FALSE(std::isfinite(min));
  EXPECT_FALSE(std::isfinite(store.x(0)));
  EXPECT_EQ(store.precision(23), INT_MIN);
}

// The differences of 19.0385 and 1235370.8475 from their bases, times 1000, lie just below a half; the differences of
// the products don't.
TEST(KESOrientationPacking, DifferenceFromTheBaseIsScaled) {
  for (auto const& [base, value, expected] : {std::tuple{12, 19.0385, 7038}, {1234567, 1235370.8475, 803847}}) {
    double const other = 2.0 * base - value;
    ASSERT_NE(static_cast<int>(value * 1000.0 - base * 1000.0 + 0.5), expected);
    KESOrientation store = storeOf({{value, value, value, value, 0, 0, 0}, {other, other, other, other, 0, 0, 0}});
    store.setPrecision(22, 3);
    ASSERT_EQ(store.compress(), 2);
    ASSERT_EQ(store.baseX(), base);
    EXPECT_EQ(store.records()[0].t, expected);
    EXPECT_EQ(store.records()[0].x, expected);
    EXPECT_EQ(store.records()[0].y, expected);
    EXPECT_EQ(store.records()[0].z, expected);
  }
}

// 5 / 10^6 isn't 5 times 10^-6 in double; so of 3 and 10^4, and of 9 and 10^3. Around bases of 0.
TEST(KESOrientationPacking, ValuesAreDividedByTheirScale) {
  KESOrientation store = storeOf({{3e-4, 9e-3, 9e-3, 9e-3, 5e-6, 5e-6, 5e-6}, {-3e-4, -9e-3, -9e-3, -9e-3, 0, 0, 0}});
  ASSERT_EQ(store.compress(), 2);
  ASSERT_NE(5.0 / 1e6, 5.0 * (1.0 / 1e6));
  ASSERT_NE(3.0 / 1e4, 3.0 * (1.0 / 1e4));
  ASSERT_NE(9.0 / 1e3, 9.0 * (1.0 / 1e3));
  EXPECT_THAT(store.t(0).value(), SameBits(3.0 / 1e4));
  EXPECT_THAT(store.x(0), SameBits(9.0 / 1e3));
  EXPECT_THAT(store.y(0), SameBits(9.0 / 1e3));
  EXPECT_THAT(store.z(0), SameBits(9.0 / 1e3));
  EXPECT_THAT(store.omega(0), SameBits(5.0 / 1e6));
  EXPECT_THAT(store.phi(0), SameBits(5.0 / 1e6));
  EXPECT_THAT(store.kappa(0), SameBits(5.0 / 1e6));
}

}  // namespace
