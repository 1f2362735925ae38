// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"
#include "timing/Attitude.h"

#include <cmath>
#include <limits>

namespace {

using sensor::EOP;
using sensor::EOPData;
using sensor::seconds;
using test::expectSame;
using test::orientationAt;
using test::recordOf;
using test::SameBits;

class EOPDataLookup : public test::EopStoreTest {};

// What the exact path makes of a record.
EOP throughAngles(EOP eop) {
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(eop, omega, phi, kappa);
  sensor::opkToQuaternion(static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa), eop);
  return eop;
}

TEST_F(EOPDataLookup, BetweenTwoRecordsAllIsLinear) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EOP const a = recordOf(eop, 1);
  EOP const b = recordOf(eop, 2);
  EOP expected;
  sensor::interpolateEOP(0.75F, a, b, expected);
  expected.gpsTime = 51.75;
  expectSame(orientationAt(eop, 51.75), expected);
  EXPECT_EQ(expected.x, 1.75);
  EXPECT_EQ(expected.y, -3.5);
  EXPECT_EQ(expected.status, 2.0F);
}

TEST_F(EOPDataLookup, WeightIsRoundedToSinglePrecision) {
  EOPData const eop = store({50.0, 53.0});
  float const w = 1.0F / 3.0F;
  EOP const out = orientationAt(eop, 51.0);
  EXPECT_THAT(out.x, SameBits(static_cast<double>(w)));
  EXPECT_THAT(out.y, SameBits(-2.0 * static_cast<double>(w)));
  EXPECT_EQ(out.gpsTime, 51.0);
  EXPECT_EQ(out.status, 0.0F);
}

TEST_F(EOPDataLookup, StatusIsThatOfTheLaterRecordFromTheMiddleOn) {
  EOPData const eop = store({50.0, 51.0});
  EXPECT_EQ(orientationAt(eop, 50.5).status, 1.0F);
  EXPECT_EQ(orientationAt(eop, std::nextafter(50.5, 0.0)).status, 1.0F);  // the weight rounds to 0.5
  EXPECT_EQ(orientationAt(eop, 50.499).status, 0.0F);
}

TEST_F(EOPDataLookup, VeryTimeOfARecordGoesThroughItsAngles) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  for (int i = 0; i < 3; ++i) {
    expectSame(orientationAt(eop, 50.0 + i), throughAngles(recordOf(eop, i)));
  }
}

// For some of these angles the single form gives other bits.
TEST_F(EOPDataLookup, VeryTimeOfARecordGoesThroughTheDoubleForm) {
  test::EopFile file;
  file.records = test::eopRecords(400);
  for (std::size_t i = 0; i < file.records.size(); ++i) {
    double const k = static_cast<double>(i);
    file.records[i].omega = 0.0156 + 1e-5 * k;
    file.records[i].phi = -0.0156 - 1.1e-5 * k;
    file.records[i].kappa = 0.5 + 0.003 * k;
  }
  EOPData const eop(mFolder.file("b.eop", file.bytes()));
  int others = 0;
  for (int i = 0; i < 400; ++i) {
    EOP const record = recordOf(eop, i);
    EOP const expected = throughAngles(record);
    EOP single;
    float omega = 0;
    float phi = 0;
    float kappa = 0;
    sensor::quaternionToOpk(record, omega, phi, kappa);
    sensor::opkToQuaternion(omega, phi, kappa, single);
    others +=
        single.q0 != expected.q0 || single.q1 != expected.q1 || single.q2 != expected.q2 || single.q3 != expected.q3;
    expectSame(orientationAt(eop, record.gpsTime), expected);
  }
  EXPECT_GT(others, 0);
}

// Past half a turn of kappa the records go on with the sign that no angles give.
TEST_F(EOPDataLookup, VeryTimeOfARecordMayHaveTheOtherSign) {
  test::EopFile file;
  file.records = test::eopRecords(2);
  file.records[0].kappa = 3.1;
  file.records[1].kappa = -3.1;
  EOPData const eop(mFolder.file("b.eop", file.bytes()));
  EOP const out = orientationAt(eop, file.records[1].time);
  EXPECT_LT(sensor::dotProduct(out, recordOf(eop, 1)), -0.999F);
  EXPECT_GT(sensor::dotProduct(orientationAt(eop, 50.05), recordOf(eop, 1)), 0.999F);
}

TEST_F(EOPDataLookup, BeforeTheStartPositionGoesOnAtTheFirstRate) {
  EOPData const eop = store({50.0, 50.5, 52.0});
  EOP const out = orientationAt(eop, 49.0);
  EOP const first = recordOf(eop, 0);
  EXPECT_EQ(out.status, -1.0F);
  EXPECT_EQ(out.gpsTime, 49.0);
  EXPECT_EQ(out.x, -2.0);  // 1 metre in half a second
  EXPECT_EQ(out.y, 4.0);
  EXPECT_EQ(out.z, 1000.0 - 1.0);
  test::expectSameAttitude(out, first);
  EXPECT_THAT(out.q3, SameBits(first.q3));
}

// The last interval takes 1.5 s, but the rate is that of the first, which takes half a second.
TEST_F(EOPDataLookup, BehindTheEndPositionGoesOnByTheLastStepAtTheFirstRate) {
  EOPData const eop = store({50.0, 50.5, 52.0});
  EOP const out = orientationAt(eop, 53.0);
  EXPECT_EQ(out.status, -1.0F);
  EXPECT_EQ(out.x, 2.0 + 1.0 * 1.0 * 2.0);
  EXPECT_EQ(out.y, -4.0 - 2.0 * 2.0);
  EXPECT_EQ(out.z, 1001.0 + 0.5 * 2.0);
  EXPECT_EQ(out.gpsTime, 53.0);
  test::expectSameAttitude(out, recordOf(eop, 2));
  EXPECT_THAT(out.q0, SameBits(recordOf(eop, 2).q0));
}

TEST_F(EOPDataLookup, JustBeforeTheStartIsExtrapolated) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EXPECT_EQ(orientationAt(eop, std::nextafter(50.0, 0.0)).status, -1.0F);
}

TEST_F(EOPDataLookup, WalkFindsTheIntervalFarFromTheGuess) {
  // Ten records a second, then a gap of 100 s: the guess in the gap is far behind the end.
  std::vector<double> times;
  for (int i = 0; i < 10; ++i) {
    times.push_back(50.0 + 0.1 * i);
  }
  for (int i = 0; i < 10; ++i) {
    times.push_back(150.0 + 0.1 * i);
  }
  EOPData const eop = store(times);
  EXPECT_NEAR(orientationAt(eop, 100.45).x, 9.5, 1e-3);
  EXPECT_NEAR(orientationAt(eop, 150.05).x, 10.5, 1e-3);
  EXPECT_NEAR(orientationAt(eop, 50.25).x, 2.5, 1e-6);
}

TEST_F(EOPDataLookup, PairOfEqualTimesIsSteppedOver) {
  EOPData const eop = store({50.0, 51.0, 51.0, 52.0});
  EXPECT_EQ(orientationAt(eop, 51.5).x, 2.5);
  EXPECT_EQ(orientationAt(eop, 50.5).x, 0.5);
  // The guess is the pair, of which the later record counts; from the interval before it, the earlier one does.
  EXPECT_EQ(orientationAt(eop, 51.0).x, 2.0);
  EXPECT_EQ(orientationAt(store({50.0, 50.5, 50.5, 50.5}), 50.5).x, 2.0);
  EXPECT_EQ(orientationAt(store({50.0, 54.0, 54.0, 55.0}), 54.0).x, 2.0);
  EXPECT_EQ(orientationAt(store({50.0, 52.0, 53.0, 53.0}), 53.0).x, 2.0);
}

TEST_F(EOPDataLookup, TimesOutOfOrderEndTheWalk) {
  EOPData const eop = store({50.0, 51.0, 50.5, 51.5, 52.5});
  for (double t = 49.0; t < 54.0; t += 0.0625) {
    EOP out;
    int const result = eop.atGPS(seconds(t), out);
    EXPECT_TRUE(result == 0 || result == 1);
  }
}

TEST_F(EOPDataLookup, TimesThatAreNoNumbersEndTheWalk) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  EOPData const eop = store({50.0, nan, 52.0, 53.0});
  EOP out;
  EXPECT_EQ(eop.atGPS(seconds(51.0), out), 1);
  EXPECT_EQ(store({50.0, 51.0}).atGPS(seconds(nan), out), 1);
  EXPECT_EQ(store({nan, nan, nan}).atGPS(seconds(1.0), out), 1);
}

TEST_F(EOPDataLookup, FarAwayTimesAreExtrapolated) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EXPECT_EQ(orientationAt(eop, 1e300).status, -1.0F);
  EXPECT_EQ(orientationAt(eop, -1e300).status, -1.0F);
}

TEST_F(EOPDataLookup, FewerThanTwoRecordsGiveNothing) {
  EOP out;
  out.x = 7.0;
  EXPECT_EQ(EOPData().atGPS(seconds(50.0), out), 1);
  EXPECT_EQ(store({50.0}).atGPS(seconds(50.0), out), 1);
  EOPData unloaded = store({50.0, 51.0});
  unloaded.unloadData();
  EXPECT_EQ(unloaded.atGPS(seconds(50.5), out), 1);
  EXPECT_EQ(out.x, 7.0);
}

TEST_F(EOPDataLookup, IndexOutsideTheRecordsLeavesTheOutput) {
  EOPData eop = store({50.0, 51.0});
  EOP out;
  out.x = 7.0;
  EXPECT_EQ(eop.atIndex(-1, out), 1);
  EXPECT_EQ(eop.atIndex(2, out), 1);
  eop.unloadData();
  EXPECT_EQ(eop.atIndex(0, out), 1);
  EXPECT_EQ(out.x, 7.0);
}

// A store whose start time was never set.
EOPData builtStore() {
  EOPData eop;
  for (int i = 0; i < 3; ++i) {
    EOP record;
    record.gpsTime = 50.0 + i;
    record.q0 = 1.0F;
    record.x = 2.0 * i;
    eop.addEOP(record);
  }
  eop.recomputeFrequency();
  return eop;
}

TEST_F(EOPDataLookup, StoreThatWasBuiltFindsItsIntervals) {
  EOPData const eop = builtStore();
  EXPECT_EQ(orientationAt(eop, 50.5).x, 1.0);
  EXPECT_EQ(orientationAt(eop, 51.25).x, 2.5);
  EXPECT_EQ(orientationAt(eop, 53.0).x, 6.0);
}

TEST_F(EOPDataLookup, TimeBetweenAStartThatWasNeverSetAndTheRecordsHasNone) {
  EOP out;
  out.x = 7.0;
  EXPECT_EQ(builtStore().atGPS(seconds(20.0), out), 1);
  EXPECT_EQ(out.x, 7.0);
}

// The end time stays when the last record is set back; the times up to it have that record as it stands.
TEST_F(EOPDataLookup, TimeBehindALastRecordThatWasSetBackHasThatRecord) {
  EOPData eop = store({50.0, 51.0, 52.0});
  EOP last = recordOf(eop, 2);
  last.gpsTime = 51.5;
  eop.setEOP(2, last);
  EOP expected = last;
  expected.gpsTime = 51.75;
  expectSame(orientationAt(eop, 51.75), expected);
}

TEST_F(EOPDataLookup, HeightRangeSpansAllRecordsInSinglePrecision) {
  float low = 9.0F;
  float high = 9.0F;
  EOPData().heightRange(low, high);
  EXPECT_EQ(low, 0.0F);
  EXPECT_EQ(high, 0.0F);
  test::EopFile file;
  file.records = test::eopRecords(3);
  file.records[0].z = 1500.3;
  file.records[1].z = -20.7;
  file.records[2].z = 1500.4;
  EOPData(mFolder.file("b.eop", file.bytes())).heightRange(low, high);
  EXPECT_THAT(low, SameBits(-20.7F));
  EXPECT_THAT(high, SameBits(1500.4F));
  std::swap(file.records[0], file.records[2]);
  EOPData(mFolder.file("c.eop", file.bytes())).heightRange(low, high);
  EXPECT_THAT(low, SameBits(-20.7F));
  EXPECT_THAT(high, SameBits(1500.4F));
  store({50.0}).heightRange(low, high);
  EXPECT_EQ(low, 1000.0F);
  EXPECT_EQ(high, 1000.0F);
  store({50.0, 51.0, 52.0}).heightRange(low, high);
  EXPECT_EQ(low, 1000.0F);
  EXPECT_EQ(high, 1001.0F);
}

}  // namespace
