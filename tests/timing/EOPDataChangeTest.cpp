// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"
#include "timing/Attitude.h"

namespace {

using sensor::EOP;
using sensor::EOPData;
using test::recordOf;
using test::SameBits;

EOP eopAt(double time, double x) {
  EOP eop;
  sensor::opkToQuaternion(0.1F, 0.2F, 0.3F, eop);
  eop.gpsTime = time;
  eop.status = 3.0F;
  eop.x = x;
  eop.y = 10 * x;
  eop.z = 100 * x;
  return eop;
}

EOPData twoRecords() {
  EOPData eop;
  eop.addEOP(eopAt(5.0, 1.0));
  eop.addEOP(eopAt(5.25, 2.0));
  return eop;
}

TEST(EOPDataChange, AddingMovesTheEndAndNothingElse) {
  EOPData eop = twoRecords();
  EXPECT_EQ(eop.numSets(), 2);
  EXPECT_EQ(eop.frequency(), 0.0);
  eop.recomputeFrequency();
  EXPECT_EQ(eop.frequency(), 4.0);
}

TEST(EOPDataChange, FrequencyNeedsTwoRecords) {
  EOPData eop;
  eop.addEOP(eopAt(5.0, 1.0));
  eop.recomputeFrequency();
  EXPECT_EQ(eop.frequency(), 0.0);
}

TEST(EOPDataChange, RecordIsReplaced) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.setEOP(1, eopAt(9.0, 7.0)));
  EXPECT_EQ(recordOf(eop, 1).x, 7.0);
  EXPECT_FALSE(eop.setEOP(2, EOP()));
  EXPECT_FALSE(eop.setEOP(-1, EOP()));
}

// A store whose times once went back is never taken for ascending again: records are found by walking.
TEST(EOPDataChange, TimesThatWentBackAndAreMendedAreFound) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.setEOP(1, eopAt(4.0, 7.0)));
  EXPECT_TRUE(eop.setEOP(1, eopAt(6.0, 8.0)));
  EOP out;
  EXPECT_EQ(eop.atGPS(sensor::seconds(6.0), out), 0);
  EXPECT_EQ(out.x, 8.0);
}

TEST(EOPDataChange, CorrectionIsAddedToPositionAndAngles) {
  EOPData eop = twoRecords();
  EOP const before = recordOf(eop, 1);
  EXPECT_TRUE(eop.correctEOP(1, 0.1F, 0.25F, -0.125F, 0.01F, 0.02F, 0.03F));
  EOP const out = recordOf(eop, 1);
  EXPECT_EQ(out.x, 2.0 + static_cast<double>(0.1F));
  EXPECT_EQ(out.y, 20.25);
  EXPECT_EQ(out.z, 199.875);
  EXPECT_EQ(out.gpsTime, 5.25);
  EXPECT_EQ(out.status, 3.0F);
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(before, omega, phi, kappa);
  auto const sum = [](float a, float b) { return static_cast<float>(static_cast<double>(a) + static_cast<double>(b)); };
  EOP expected;
  sensor::opkToQuaternion(sum(0.01F, omega), sum(0.02F, phi), sum(0.03F, kappa), expected);
  test::expectSameAttitude(out, expected);
  EXPECT_NEAR(omega, 0.1F, 3e-7F);
  EXPECT_NEAR(phi, 0.2F, 3e-7F);
  EXPECT_NEAR(kappa, 0.3F, 3e-7F);
}

// Kappa of this record turns on from 3.0 over half a turn: the new angles give the sign that they give.
TEST(EOPDataChange, ChangeLeavesTheSignsOfItsNeighboursAlone) {
  EOPData eop;
  EOP record;
  sensor::opkToQuaternion(0.0F, 0.0F, 3.0F, record);
  eop.addEOP(record);
  eop.addEOP(record);
  EXPECT_TRUE(eop.updateEOP(1, 0.0, 0.0, 0.0, 0.0F, 0.0F, -3.0F));
  EXPECT_LT(sensor::dotProduct(recordOf(eop, 0), recordOf(eop, 1)), 0.0F);
}

TEST(EOPDataChange, RecordTakesOneCorrection) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.updateEOP(0, 9.0, 9.0, 9.0, 0, 0, 0));
  EXPECT_FALSE(eop.updateEOP(2, 9.0, 9.0, 9.0, 0, 0, 0));
  EXPECT_EQ(recordOf(eop, 0).x, 2.0);
  EXPECT_TRUE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(2, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(-1, 1, 0, 0, 0, 0, 0));
}

TEST(EOPDataChange, UpdateReplacesPositionAndAttitude) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.updateEOP(0, 7.0, 8.0, 9.0, 0.4F, 0.5F, 0.6F));
  EOP expected = eopAt(5.0, 1.0);
  sensor::opkToQuaternion(0.4F, 0.5F, 0.6F, expected);
  EOP const out = recordOf(eop, 0);
  EXPECT_EQ(out.x, 7.0);
  EXPECT_EQ(out.y, 8.0);
  EXPECT_EQ(out.z, 9.0);
  EXPECT_THAT(out.q0, SameBits(expected.q0));
  EXPECT_THAT(out.q1, SameBits(expected.q1));
  EXPECT_THAT(out.q2, SameBits(expected.q2));
  EXPECT_THAT(out.q3, SameBits(expected.q3));
  EXPECT_EQ(out.gpsTime, 5.0);
  EXPECT_EQ(out.status, 3.0F);
}

// Angles of which some have another quaternion in the double form.
TEST(EOPDataChange, ChangedAnglesGoThroughTheSingleForm) {
  int others = 0;
  for (int i = 0; i < 400; ++i) {
    auto const k = static_cast<float>(i);
    std::array<float, 3> const angles{0.0156F + 1e-5F * k, -0.0156F - 1.1e-5F * k, 0.5F + 0.003F * k};
    EOP expected;
    EOP wide;
    sensor::opkToQuaternion(angles[0], angles[1], angles[2], expected);
    sensor::opkToQuaternion(static_cast<double>(angles[0]), static_cast<double>(angles[1]),
                            static_cast<double>(angles[2]), wide);
    others += wide.q0 != expected.q0 || wide.q1 != expected.q1 || wide.q2 != expected.q2 || wide.q3 != expected.q3;
    EOPData eop;
    EOP level;
    level.q0 = 1.0F;
    eop.addEOP(level);
    eop.addEOP(level);
    ASSERT_TRUE(eop.correctEOP(0, 0, 0, 0, angles[0], angles[1], angles[2]));
    ASSERT_TRUE(eop.updateEOP(1, 0, 0, 0, angles[0], angles[1], angles[2]));
    // Level angles are -0, 0, or -0, which change no sum.
    test::expectSameAttitude(recordOf(eop, 0), expected);
    test::expectSameAttitude(recordOf(eop, 1), expected);
  }
  EXPECT_GT(others, 0);
}

TEST(EOPDataChange, EndTimeFollowsTheRecordThatIsAdded) {
  EOPData eop = twoRecords();
  eop.recomputeFrequency();
  eop.addEOP(eopAt(5.5, 3.0));
  EXPECT_EQ(test::orientationAt(eop, 5.75).status, -1.0F);
  EXPECT_EQ(test::orientationAt(eop, 5.5).status, 3.0F);
  EXPECT_EQ(eop.frequency(), 4.0);
}

TEST(EOPDataChange, RecordThatWasUpdatedTakesNoMore) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.updateEOP(1, 7.0, 8.0, 9.0, 0, 0, 0));
  EXPECT_FALSE(eop.updateEOP(1, 1.0, 1.0, 1.0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(1, 1, 1, 1, 0, 0, 0));
  EXPECT_EQ(recordOf(eop, 1).x, 7.0);
}

// Replacing a record is neither a correction nor does it undo one.
TEST(EOPDataChange, RecordThatIsReplacedKeepsItsMark) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_TRUE(eop.setEOP(0, eopAt(5.0, 7.0)));
  EXPECT_EQ(recordOf(eop, 0).x, 7.0);
  EXPECT_FALSE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_TRUE(eop.setEOP(1, eopAt(5.25, 8.0)));
  EXPECT_TRUE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  EXPECT_EQ(recordOf(eop, 1).x, 9.0);
}

TEST(EOPDataChange, RecordAddedAfterAChangeMayBeChanged) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  eop.addEOP(eopAt(5.5, 3.0));
  EXPECT_TRUE(eop.correctEOP(2, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  // Far more than the place that three marks take.
  for (int i = 3; i < 2000; ++i) {
    eop.addEOP(eopAt(5.25 + 0.25 * i, 3.0));
  }
  for (int i = 3; i < 2000; ++i) {
    ASSERT_TRUE(eop.correctEOP(i, 1, 0, 0, 0, 0, 0)) << i;
    ASSERT_FALSE(eop.correctEOP(i, 1, 0, 0, 0, 0, 0)) << i;
  }
}

TEST(EOPDataChange, CopyIsAValueOfItsOwn) {
  EOPData source = twoRecords();
  source.setPOSSource("source");
  source.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  source.correctEOP(0, 1, 0, 0, 0, 0, 0);
  EOPData copy = source;
  EXPECT_EQ(copy.numSets(), 2);
  EXPECT_EQ(copy.posSource(), "source");
  EXPECT_EQ(test::deviationsOf(copy, 0), (std::array<float, 6>{1, 2, 3, 4, 5, 6}));
  EXPECT_FALSE(copy.correctEOP(0, 1, 0, 0, 0, 0, 0));
  copy.setEOP(0, eopAt(1.0, 99.0));
  copy.setPOSSource("other");
  copy.setStdDevs(0, 9, 9, 9, 9, 9, 9);
  EXPECT_EQ(recordOf(source, 0).x, 2.0);
  EXPECT_EQ(source.posSource(), "source");
  EXPECT_EQ(test::deviationsOf(source, 0)[0], 1.0F);
  copy = source;
  EXPECT_EQ(recordOf(copy, 0).x, 2.0);
}

TEST(EOPDataChange, DescriptionsAreKept) {
  EOPData eop;
  eop.setPOSSource("p");
  eop.setTMSource("t");
  eop.setAppSource("a");
  eop.setFileName("f");
  eop.setAbsTime(sensor::seconds(std::uint32_t{4000000000U}));
  eop.setAnchorPoint({0.1, 0.2, 300.0});
  EXPECT_EQ(eop.posSource(), "p");
  EXPECT_EQ(eop.tmSource(), "t");
  EXPECT_EQ(eop.appSource(), "a");
  EXPECT_EQ(eop.fileName(), "f");
  EXPECT_EQ(eop.absTime().value(), 4000000000U);
  EXPECT_EQ(eop.anchorPoint().y, 0.2);
}

}  // namespace
