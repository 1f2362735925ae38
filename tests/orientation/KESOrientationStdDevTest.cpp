// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"
#include "support/TempFolder.h"

#include <climits>
#include <cmath>

namespace {

using sensor::KESOrientation;
using test::OdfStdDevs;
using test::SameBits;
using test::setStdDevs;

KESOrientation zeroedStore(int count) {
  KESOrientation store;
  store.setNumSets(count);
  return store;
}

TEST(KESOrientationStdDev, DeviationsArePackedByTheirScales) {
  KESOrientation store = zeroedStore(2);
  ASSERT_EQ(setStdDevs(store, 1, {0.00001F, 0.0002F, 0.003F, 4e-7F, 5e-6F, 6e-5F}), 1);
  sensor::odf expected;
  expected.stdDevX = 1;
  expected.stdDevY = 20;
  expected.stdDevZ = 300;
  expected.stdDevOmega = 4;
  expected.stdDevPhi = 50;
  expected.stdDevKappa = 600;
  test::expectRecords(store, {{}, expected});
}

TEST(KESOrientationStdDev, RangesOfRecordsArePacked) {
  KESOrientation store = zeroedStore(3);
  std::array<float, 2> const values{0.00007F, 0.00009F};
  float const* const v = values.data();
  ASSERT_EQ(store.setStdDev(1, 2, v, v, v, v, v, v), 1);
  EXPECT_EQ(store.records()[0].stdDevX, 0);
  EXPECT_EQ(store.records()[1].stdDevX, 7);
  EXPECT_EQ(store.records()[2].stdDevX, 9);
  EXPECT_EQ(store.records()[2].stdDevKappa, 900);
}

// Scales of 1, so that values are packed values.
TEST(KESOrientationStdDev, HalvesAreRoundedUp) {
  KESOrientation store = zeroedStore(1);
  store.setPrecision(25, 0);
  store.setPrecision(26, 0);
  ASSERT_EQ(setStdDevs(store, 0, {1.25F, 1.5F, 1.75F, 65535.0F, 65535.25F, -3.25F}), 1);
  EXPECT_EQ(store.records()[0].stdDevX, 1);
  EXPECT_EQ(store.records()[0].stdDevY, 2);
  EXPECT_EQ(store.records()[0].stdDevZ, 2);
  EXPECT_EQ(store.records()[0].stdDevOmega, 65535);
  EXPECT_EQ(store.records()[0].stdDevPhi, 65535);
  EXPECT_EQ(store.records()[0].stdDevKappa, 65534);  // -3.25 + 0.5 = -2.75, that is -2, of 65536
}

// The float below a half, plus a half, is 1 in single precision, and less in double.
TEST(KESOrientationStdDev, HalfIsAddedInSinglePrecision) {
  KESOrientation store = zeroedStore(1);
  store.setPrecision(25, 0);
  store.setPrecision(26, 0);
  float const v = std::nextafter(0.5F, 0.0F);
  ASSERT_EQ(setStdDevs(store, 0, {v, v, v, v, v, v}), 1);
  test::expectRecords(store, {{0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1}});
}

// 100000 times this float is 12462.4997 in double, and 12462.5 in single precision.
TEST(KESOrientationStdDev, DeviationsAreScaledInSinglePrecision) {
  KESOrientation store = zeroedStore(1);
  float const v = 0.12462499737739563F;
  ASSERT_LT(static_cast<double>(v) * 100000.0, 12462.5);
  ASSERT_EQ(setStdDevs(store, 0, {v, 0, 0, 0, 0, 0}), 1);
  EXPECT_EQ(store.records()[0].stdDevX, 12463);
}

TEST(KESOrientationStdDev, DeviationsAreDividedByTheirScale) {
  KESOrientation store = zeroedStore(1);
  ASSERT_EQ(setStdDevs(store, 0, {7e-5F, 7e-5F, 7e-5F, 9e-7F, 9e-7F, 9e-7F}), 1);
  ASSERT_NE(7.0F / 1e5F, 7.0F * (1.0F / 1e5F));
  ASSERT_NE(9.0F / 1e7F, 9.0F * (1.0F / 1e7F));
  test::expectRecords(store, {{0, 0, 0, 0, 0, 0, 0, 7, 7, 7, 9, 9, 9}});
  OdfStdDevs const v = test::stdDevsOf(store, 0);
  for (std::size_t i = 0; i < v.size(); ++i) {
    EXPECT_THAT(v[i], SameBits(i < 3 ? 7.0F / 1e5F : 9.0F / 1e7F));
  }
}

TEST(KESOrientationStdDev, ValuesJustAboveTheRangeWrapToZero) {
  KESOrientation store = zeroedStore(1);
  ASSERT_EQ(setStdDevs(store, 0, {0.65536F, 0, 0, 0, 0, 0}), 1);
  EXPECT_EQ(store.records()[0].stdDevX, 0);
  store.setPrecision(25, 0);
  ASSERT_EQ(setStdDevs(store, 0, {65535.5F, 65535.5078125F, 65536.0F, 0, 0, 0}), 1);
  EXPECT_EQ(store.records()[0].stdDevX, 0);
  EXPECT_EQ(store.records()[0].stdDevY, 0);
  EXPECT_EQ(store.records()[0].stdDevZ, 0);
}

TEST(KESOrientationStdDev, OverflowIsToldAndRefused) {
  KESOrientation store = zeroedStore(1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(setStdDevs(store, 0, {0.65537F, 1e-5F, 0, 0, 0, 0}), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nNumerical overflow in x stddev value: 65537.000000\n");
  EXPECT_EQ(store.records()[0].stdDevY, 0);
}

TEST(KESOrientationStdDev, OverflowOfEachQuantityHasItsMessage) {
  constexpr std::array<char const*, 6> names{"x", "y", "z", "omega", "phi", "kappa"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    KESOrientation store = zeroedStore(2);
    store.setPrecision(25, 0);
    store.setPrecision(26, 0);
    OdfStdDevs values{1, 2, 3, 4, 5, 6};
    values[i] = 70000.5F;
    testing::internal::CaptureStderr();
    EXPECT_EQ(setStdDevs(store, 1, values), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("\nNumerical overflow in ") + names[i] + " stddev value: 70000.500000\n");
    OdfStdDevs const stored = test::stdDevsOf(store, 1);
    for (std::size_t k = 0; k < stored.size(); ++k) {
      EXPECT_EQ(stored[k], k < i ? values[k] : 0.0F);
    }
  }
}

TEST(KESOrientationStdDev, SuccessTellsNothing) {
  KESOrientation store = zeroedStore(1);
  testing::internal::CaptureStderr();
  setStdDevs(store, 0, {0.65536F, 0.1F, 0, 0, 0, 0});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(KESOrientationStdDev, DeviationsAreUnpackedInSinglePrecision) {
  test::TempFolder const folder;
  KESOrientation const store(folder.file("a.odf", test::OdfFile().bytes()));
  // Record 2: 201 to 206; scales 400 and 5000.
  OdfStdDevs const expected{201.0F / 400.0F,  202.0F / 400.0F,  203.0F / 400.0F,
                            204.0F / 5000.0F, 205.0F / 5000.0F, 206.0F / 5000.0F};
  OdfStdDevs const v = test::stdDevsOf(store, 2);
  for (std::size_t i = 0; i < v.size(); ++i) {
    EXPECT_THAT(v[i], SameBits(expected[i]));
    EXPECT_THAT(store.stdDev(16 + static_cast<int>(i), 2), SameBits(expected[i]));
  }
  EXPECT_EQ(store.stdDev(15, 2), 0.0F);
  EXPECT_EQ(store.stdDev(22, 2), 0.0F);
}

TEST(KESOrientationStdDev, RangesOutsideTheRecordsAreRefused) {
  KESOrientation const store = zeroedStore(3);
  OdfStdDevs v{};
  auto const get = [&](long start, long count) {
    return store.stdDev(start, count, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
  };
  EXPECT_EQ(get(2, 1), 1);
  EXPECT_EQ(get(3, 0), 1);
  EXPECT_EQ(get(3, 1), 0);
  EXPECT_EQ(get(-1, 1), 0);
  EXPECT_EQ(get(LONG_MAX, 1), 0);
}

TEST(KESOrientationRuns, DeviationsOfARunAreThoseOfItsRecordsInOrder) {
  sensor::KESOrientation store;
  store.setNumSets(3);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(test::setStdDevs(store, i, {0.5F, 0.25F, 0.125F, 0.001F, 0.002F, 0.001F * static_cast<float>(i)}), 1);
  }
  std::array<std::array<float, 2>, 6> v{};
  ASSERT_EQ(store.stdDev(1, 2, v[0].data(), v[1].data(), v[2].data(), v[3].data(), v[4].data(), v[5].data()), 1);
  EXPECT_FLOAT_EQ(v[5][0], 0.001F);
  EXPECT_FLOAT_EQ(v[5][1], 0.002F);
}

// The y of the records, far from their z, have no part in the range. 300 is packed as -199999 thousandths from the
// base of 500, of which 199 whole metres count.
TEST(KESOrientationRuns, HeightRangeLooksAtHeightsAlone) {
  sensor::KESOrientation store =
      test::storeOf({{0, 0, 900, 500, 0, 0, 0}, {1, 0, -900, 700, 0, 0, 0}, {2, 0, 100, 300, 0, 0, 0}});
  ASSERT_EQ(store.compress(), 2);
  double low = 0.0;
  double high = 0.0;
  store.zRange(low, high);
  EXPECT_EQ(low, 301.0);
  EXPECT_EQ(high, 700.0);
}

}  // namespace
