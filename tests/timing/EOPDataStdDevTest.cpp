// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"

namespace {

using sensor::EOPData;
using test::Deviations;
using test::deviationsAt;
using test::deviationsOf;
using test::SameBits;

using Values = std::array<float, 6>;

class EOPDataStdDev : public test::EopStoreTest {};

TEST_F(EOPDataStdDev, BetweenTwoRecordsAllAreLinear) {
  Deviations const d = deviationsAt(store({50.0, 51.0, 52.0}), 51.25);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (Values{2.25F, 3.25F, 4.25F, 5.25F, 6.25F, 7.25F}));
}

// The weight of this time is another float when the way to it isn't rounded first.
TEST_F(EOPDataStdDev, WayFromTheRecordIsRoundedToSinglePrecision) {
  constexpr double t = 50.267325;
  EOPData eop = store({50.0, 50.75});
  eop.setStdDevs(0, 0, 0, 0, 0, 0, 0);
  eop.setStdDevs(1, 1, 2, 4, 8, 16, -1);
  auto const way = static_cast<double>(static_cast<float>(t - 50.0));
  auto const w = static_cast<float>(way / 0.75);
  ASSERT_NE(w, static_cast<float>((t - 50.0) / 0.75));
  EXPECT_EQ(deviationsAt(eop, t).values, (Values{w, 2 * w, 4 * w, 8 * w, 16 * w, -w}));
}

TEST_F(EOPDataStdDev, ThoseInMemoryAreNotReadAgain) {
  EOPData eop = store({50.0, 51.0});
  Values const changed{6, 5, 4, 3, 2, 1};
  eop.setStdDevs(0, 6, 5, 4, 3, 2, 1);
  eop.loadData(true);
  EXPECT_EQ(deviationsAt(eop, 50.0).values, changed);
}

TEST_F(EOPDataStdDev, VeryTimeOfARecordHasItsOwn) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  for (int i = 0; i < 3; ++i) {
    Deviations const d = deviationsAt(eop, 50.0 + i);
    EXPECT_EQ(d.result, 0);
    EXPECT_EQ(d.values, deviationsOf(eop, i));
  }
}

TEST_F(EOPDataStdDev, OutsideTheSpanAreThoseOfTheEnds) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  for (double const t : {-1e300, 0.0, 49.0}) {
    EXPECT_EQ(deviationsAt(eop, t).result, 0);
    EXPECT_EQ(deviationsAt(eop, t).values, deviationsOf(eop, 0));
  }
  for (double const t : {52.5, 60.0, 1e300}) {
    EXPECT_EQ(deviationsAt(eop, t).result, 0);
    EXPECT_EQ(deviationsAt(eop, t).values, deviationsOf(eop, 2));
  }
}

TEST_F(EOPDataStdDev, WalkFindsTheIntervalFarFromTheGuess) {
  EOPData const eop = store({50.0, 50.25, 50.5, 90.5, 90.75});
  EXPECT_EQ(deviationsAt(eop, 80.5).values[0], 3.75F);
  EXPECT_EQ(deviationsAt(eop, 90.625).values[0], 4.5F);
}

// The end time stays when the last record is set back.
TEST_F(EOPDataStdDev, TimeBehindALastRecordThatWasSetBackHasItsDeviations) {
  EOPData eop = store({50.0, 51.0, 52.0});
  sensor::EOP last = test::recordOf(eop, 2);
  last.gpsTime = 51.5;
  eop.setEOP(2, last);
  EXPECT_EQ(deviationsAt(eop, 51.75).result, 0);
  EXPECT_EQ(deviationsAt(eop, 51.75).values, deviationsOf(eop, 2));
}

TEST_F(EOPDataStdDev, PairOfEqualTimesGivesTheFirst) {
  Deviations const d = deviationsAt(store({50.0, 50.0, 51.0}), 50.0);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values[0], 1.0F);
}

TEST_F(EOPDataStdDev, TimesOutOfOrderOrNoNumbersEndTheWalk) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  for (auto const& times : {std::vector<double>{50.0, 51.0, 50.5, 51.5}, {50.0, nan, 52.0}, {54.0, 53.0, 52.0}}) {
    EOPData const eop = store(times);
    for (double const t : {49.0, 50.25, 50.75, 51.25, 53.5, 60.0, nan}) {
      int const result = deviationsAt(eop, t).result;
      EXPECT_TRUE(result == 0 || result == 1);
    }
  }
}

TEST_F(EOPDataStdDev, TimeBetweenRecordsAndAStartThatWasNeverSetHasTheDefaults) {
  EOPData eop;
  eop.setDefaultStdDevs(1, 2, 3, 4, 5, 6);
  for (double const t : {50.0, 51.0}) {
    sensor::EOP record;
    record.gpsTime = t;
    eop.addEOP(record);
  }
  eop.recomputeFrequency();
  eop.setStdDevs(0, 7, 7, 7, 7, 7, 7);
  EXPECT_EQ(deviationsAt(eop, 50.0).result, 0);
  EXPECT_EQ(deviationsAt(eop, 20.0).result, 1);
  EXPECT_EQ(deviationsAt(eop, 20.0).values, (Values{1, 2, 3, 4, 5, 6}));
}

TEST_F(EOPDataStdDev, SingleRecordHasOnlyTheTimesBesideIt) {
  EOPData const eop = store({50.0});
  EXPECT_EQ(deviationsAt(eop, 49.0).values, deviationsOf(eop, 0));
  EXPECT_EQ(deviationsAt(eop, 51.0).values, deviationsOf(eop, 0));
  EXPECT_EQ(deviationsAt(eop, 50.0).result, 1);
}

TEST_F(EOPDataStdDev, WithoutATableTheDefaultsAreGiven) {
  EOPData eop;
  Deviations d = deviationsAt(eop, 50.0);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.values, (Values{0.05F, 0.05F, 0.05F, 1e-5F, 1e-5F, 1e-5F}));
  eop.setDefaultStdDevs(1, 2, 3, 4, 5, 6);
  d = deviationsAt(eop, 50.0);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.values, (Values{1, 2, 3, 4, 5, 6}));
}

TEST_F(EOPDataStdDev, TableShorterThanTheRecordsGivesTheDefaults) {
  EOPData eop = store({50.0, 51.0});
  eop.addEOP(test::recordOf(eop, 1));
  Deviations const d = deviationsAt(eop, 50.5);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.values, (Values{0.1F, 0.2F, 0.3F, 1e-3F, 2e-3F, 3e-3F}));
}

TEST_F(EOPDataStdDev, OnesOfARecordComeByItsIndex) {
  EXPECT_EQ(deviationsOf(store({50.0, 51.0}), 1), (Values{2, 3, 4, 5, 6, 7}));
}

TEST_F(EOPDataStdDev, SettingFillsTheTableWithDefaults) {
  EOPData eop;
  eop.addEOP({});
  eop.addEOP({});
  EXPECT_FALSE(eop.hasStdDevs());
  EXPECT_TRUE(eop.setStdDevs(1, 1, 2, 3, 4, 5, 6));
  EXPECT_TRUE(eop.hasStdDevs());
  EXPECT_EQ(deviationsOf(eop, 0), (Values{0.05F, 0.05F, 0.05F, 1e-5F, 1e-5F, 1e-5F}));
  EXPECT_EQ(deviationsOf(eop, 1), (Values{1, 2, 3, 4, 5, 6}));
  EXPECT_FALSE(eop.setStdDevs(2, 1, 2, 3, 4, 5, 6));
  EXPECT_FALSE(eop.setStdDevs(-1, 1, 2, 3, 4, 5, 6));
}

TEST_F(EOPDataStdDev, EmptyStoreHasThemForAllItsRecords) {
  EXPECT_TRUE(EOPData().hasStdDevs());
}

}  // namespace
