// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"
#include "timing/Attitude.h"

#include <cmath>

namespace {

using sensor::EOP;
using sensor::EOPData;
using test::EopFile;

class EOPDataRead : public testing::TestWithParam<int> {
protected:
  EopFile file(int records = 3) const {
    EopFile result;
    result.version = GetParam();
    result.records = test::eopRecords(records);
    return result;
  }
  std::string write(EopFile const& eop) const { return mFolder.file("a.eop", eop.bytes()); }

  test::TempFolder mFolder;
};

TEST_P(EOPDataRead, RecordsComeBackInAllTheirFields) {
  EopFile const source = file();
  EOPData const eop(write(source));
  ASSERT_EQ(eop.numSets(), 3);
  for (int i = 0; i < 3; ++i) {
    test::EopRecord const& r = source.records[static_cast<std::size_t>(i)];
    EOP expected;
    sensor::opkToQuaternion(static_cast<float>(r.omega), static_cast<float>(r.phi), static_cast<float>(r.kappa),
                            expected);
    EOP out;
    ASSERT_EQ(eop.atIndex(i, out), 0);
    EXPECT_EQ(out.gpsTime, r.time);
    EXPECT_EQ(out.x, r.x);
    EXPECT_EQ(out.y, r.y);
    EXPECT_EQ(out.z, r.z);
    EXPECT_EQ(out.status, static_cast<float>(r.status));
    EXPECT_THAT(out.q0, test::SameBits(expected.q0));
    EXPECT_THAT(out.q1, test::SameBits(expected.q1));
    EXPECT_THAT(out.q2, test::SameBits(expected.q2));
    EXPECT_THAT(out.q3, test::SameBits(expected.q3));
  }
  EXPECT_EQ(eop.eopVersion(), GetParam());
  EXPECT_EQ(eop.frequency(), 1.0 / (source.records[1].time - source.records[0].time));
}

TEST_P(EOPDataRead, HeaderAloneHasNoRecords) {
  EOPData eop(write(file()), false);
  EXPECT_FALSE(eop.isDataLoaded());
  EXPECT_EQ(eop.numSets(), 0);
  EXPECT_EQ(eop.anchorPoint().x, 0.2);
  EXPECT_EQ(eop.anchorPoint().y, 0.8);
  EXPECT_EQ(eop.anchorPoint().z, 400.5);
  EXPECT_EQ(eop.frequency(), GetParam() == 1 ? 12.5 : 0.0);
  eop.loadData(false);
  EXPECT_TRUE(eop.isDataLoaded());
  EXPECT_EQ(eop.numSets(), 3);
}

TEST_P(EOPDataRead, OffsetsOfTheHeaderAreHonoured) {
  EopFile source = file();
  source.gap = 100;
  source.stdDevs = true;
  EOPData const eop(write(source), true, true);
  EXPECT_TRUE(eop.hasStdDevs());
  EOP out;
  eop.atIndex(2, out);
  EXPECT_EQ(out.y, -4.0);
  float v[6];
  eop.stdDevAtIndex(2, v[0], v[1], v[2], v[3], v[4], v[5]);
  EXPECT_EQ(v[0], 3.0F);
  EXPECT_EQ(v[5], 8.0F);
}

TEST_P(EOPDataRead, CountsAroundAGroupOfEightAreRead) {
  for (int const count : {1, 7, 8, 9, 15, 16, 17, 24, 25}) {
    EOPData const eop(write(file(count)));
    EXPECT_EQ(eop.numSets(), count);
    EOP last;
    EXPECT_EQ(eop.atIndex(count - 1, last), 0);
    EXPECT_EQ(last.x, count - 1.0);
  }
}

TEST_P(EOPDataRead, MoreRecordsThanOneReadTakesAreRead) {
  EOPData const eop(write(file(20001)));
  EOP out;
  for (int const i : {0, 8191, 8192, 16384, 20000}) {
    ASSERT_EQ(eop.atIndex(i, out), 0);
    EXPECT_EQ(out.x, 1.0 * i);
  }
}

TEST_P(EOPDataRead, SignsGoOnFromRecordToRecord) {
  EopFile source = file(4);
  // Across half a turn of kappa the angle jumps, and with it the sign of the quaternion.
  for (int i = 0; i < 4; ++i) {
    source.records[static_cast<std::size_t>(i)].kappa = (i < 2 ? 3.0 : -3.2) + 0.05 * i;
  }
  EOPData const eop(write(source));
  EOP a;
  EOP b;
  eop.atIndex(0, a);
  for (int i = 1; i < 4; ++i, a = b) {
    eop.atIndex(i, b);
    EXPECT_GE(sensor::dotProduct(a, b), 0.0F);
  }
}

// A quarter turn of kappa to the one side and to the other: cosine and sine of its half are one float, so that the dot
// product is 0. The same side, then, and the quaternion that the angles give.
TEST_P(EOPDataRead, SignStaysWhereTheDotProductIsZero) {
  EopFile source = file(2);
  for (test::EopRecord& record : source.records) {
    record.omega = record.phi = 0.0;
  }
  source.records[0].kappa = M_PI / 2;
  source.records[1].kappa = -M_PI / 2;
  EOPData const eop(write(source));
  EOP a;
  EOP b;
  eop.atIndex(0, a);
  eop.atIndex(1, b);
  ASSERT_EQ(sensor::dotProduct(a, b), 0.0F);
  EXPECT_GT(b.q0, 0.7F);
  EXPECT_GT(b.q3, 0.7F);
}

// For some of these angles the double form gives other bits, even after they were rounded.
TEST_P(EOPDataRead, AnglesAreRoundedAndGoThroughTheSingleForm) {
  EopFile source = file(400);
  int others = 0;
  for (std::size_t i = 0; i < source.records.size(); ++i) {
    double const k = static_cast<double>(i);
    source.records[i].omega = 0.0156 + 1e-5 * k;
    source.records[i].phi = -0.0156 - 1.1e-5 * k;
    source.records[i].kappa = 0.5 + 0.003 * k;
  }
  EOPData const eop(write(source));
  for (int i = 0; i < 400; ++i) {
    test::EopRecord const& r = source.records[static_cast<std::size_t>(i)];
    auto const omega = static_cast<float>(r.omega);
    auto const phi = static_cast<float>(r.phi);
    auto const kappa = static_cast<float>(r.kappa);
    EOP expected;
    EOP wide;
    sensor::opkToQuaternion(omega, phi, kappa, expected);
    sensor::opkToQuaternion(static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa), wide);
    others += wide.q0 != expected.q0 || wide.q1 != expected.q1 || wide.q2 != expected.q2 || wide.q3 != expected.q3;
    test::expectSameAttitude(test::recordOf(eop, i), expected);
  }
  EXPECT_GT(others, 0);
}

// Marks of changed records go with standard deviations that were dealt with, and stay without.
TEST_P(EOPDataRead, UnloadingRecordsAloneKeepsTheMarksOfChangedOnes) {
  EOPData eop(write(file()));
  ASSERT_TRUE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  eop.unloadData();
  EXPECT_FALSE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  eop.loadData(false);
  EXPECT_FALSE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.updateEOP(0, 9, 9, 9, 0, 0, 0));
  EXPECT_TRUE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  EOP out;
  eop.atIndex(0, out);
  EXPECT_EQ(out.x, 0.0);
}

// The record in memory, which a load would replace.
TEST_P(EOPDataRead, RecordsThatAreThereAreNotReadAgain) {
  EopFile source = file();
  source.stdDevs = true;
  EOPData eop(write(source));
  ASSERT_TRUE(eop.updateEOP(0, 9, 9, 9, 0, 0, 0));
  eop.loadData(false);
  EXPECT_EQ(test::recordOf(eop, 0).x, 9.0);
  eop.loadData(true);
  EXPECT_EQ(test::recordOf(eop, 0).x, 9.0);
  EXPECT_TRUE(eop.hasStdDevs());
  ASSERT_TRUE(eop.setStdDevs(0, 9, 9, 9, 9, 9, 9));
  eop.loadData(true);
  EXPECT_EQ(test::deviationsOf(eop, 0)[0], 9.0F);
}

TEST_P(EOPDataRead, StandardDeviationsMayComeLater) {
  EopFile source = file();
  source.stdDevs = true;
  EOPData eop(write(source));
  EXPECT_FALSE(eop.hasStdDevs());
  EXPECT_FALSE(eop.isStdDevLoaded());
  eop.loadData(true);
  EXPECT_TRUE(eop.hasStdDevs());
  EXPECT_TRUE(eop.isStdDevLoaded());
}

TEST_P(EOPDataRead, FileWithoutStandardDeviationsCountsAsDealtWith) {
  EOPData eop(write(file()), true, true);
  EXPECT_TRUE(eop.isStdDevLoaded());
  EXPECT_FALSE(eop.hasStdDevs());
  float v[6];
  EXPECT_EQ(eop.stdDevAtGPS(sensor::seconds(50.05), v[0], v[1], v[2], v[3], v[4], v[5]), 1);
  EXPECT_EQ(v[0], GetParam() == 1 ? 0.05F : 0.1F);
}

TEST_P(EOPDataRead, UnloadingKeepsHeaderCountAndTimes) {
  EopFile source = file();
  source.stdDevs = true;
  EOPData eop(write(source), true, true);
  eop.correctEOP(0, 1, 0, 0, 0, 0, 0);
  eop.unloadData();
  EXPECT_FALSE(eop.isDataLoaded());
  EXPECT_FALSE(eop.isStdDevLoaded());
  EXPECT_EQ(eop.numSets(), 3);
  EXPECT_EQ(eop.anchorPoint().z, 400.5);
  eop.loadData(true);
  EXPECT_EQ(eop.numSets(), 3);
  // The record may be corrected again.
  EXPECT_TRUE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
}

TEST_P(EOPDataRead, ParametersOfTheBlockAreRead) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  EOPData const eop(write(file()), false);
  EXPECT_EQ(eop.appSource(), "test");
  EXPECT_EQ(eop.posSource(), "inertial");
  EXPECT_EQ(eop.tmSource(), "clock");
  EXPECT_EQ(eop.absTime().value(), 4000000000U);
}

INSTANTIATE_TEST_SUITE_P(Versions, EOPDataRead, testing::Values(1, 2, 3));

}  // namespace
