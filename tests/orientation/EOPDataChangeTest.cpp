#include "orientation/Attitude.h"
#include "support/Matchers.h"

#include <sensor/EOPData.h>

namespace {

using sensor::EOP;
using sensor::EOPData;
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

EOP record(EOPData const& eop, int i) {
  EOP out;
  EXPECT_EQ(eop.atIndex(i, out), 0);
  return out;
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
  EXPECT_EQ(record(eop, 1).x, 7.0);
  EXPECT_FALSE(eop.setEOP(2, EOP()));
  EXPECT_FALSE(eop.setEOP(-1, EOP()));
}

TEST(EOPDataChange, CorrectionIsAddedToPositionAndAngles) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.correctEOP(1, 0.5F, 0.25F, -0.125F, 0.01F, 0.02F, 0.03F));
  EOP const out = record(eop, 1);
  EXPECT_EQ(out.x, 2.5);
  EXPECT_EQ(out.y, 20.25);
  EXPECT_EQ(out.z, 199.875);
  EXPECT_EQ(out.gpsTime, 5.25);
  EXPECT_EQ(out.status, 3.0F);
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(out, omega, phi, kappa);
  EXPECT_NEAR(omega, 0.11F, 3e-7F);
  EXPECT_NEAR(phi, 0.22F, 3e-7F);
  EXPECT_NEAR(kappa, 0.33F, 3e-7F);
}

TEST(EOPDataChange, RecordTakesOneCorrection) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(0, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.updateEOP(0, 9.0, 9.0, 9.0, 0, 0, 0));
  EXPECT_EQ(record(eop, 0).x, 2.0);
  EXPECT_TRUE(eop.correctEOP(1, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(2, 1, 0, 0, 0, 0, 0));
  EXPECT_FALSE(eop.correctEOP(-1, 1, 0, 0, 0, 0, 0));
}

TEST(EOPDataChange, UpdateReplacesPositionAndAttitude) {
  EOPData eop = twoRecords();
  EXPECT_TRUE(eop.updateEOP(0, 7.0, 8.0, 9.0, 0.4F, 0.5F, 0.6F));
  EOP expected = eopAt(5.0, 1.0);
  sensor::opkToQuaternion(0.4F, 0.5F, 0.6F, expected);
  EOP const out = record(eop, 0);
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

TEST(EOPDataChange, SettingStandardDeviationsFillsTheTableWithDefaults) {
  EOPData eop = twoRecords();
  EXPECT_FALSE(eop.hasStdDevs());
  EXPECT_TRUE(eop.setStdDevs(1, 1, 2, 3, 4, 5, 6));
  EXPECT_TRUE(eop.hasStdDevs());
  float v[6];
  eop.stdDevAtIndex(0, v[0], v[1], v[2], v[3], v[4], v[5]);
  EXPECT_EQ(v[0], 0.05F);
  EXPECT_EQ(v[5], 1e-5F);
  eop.stdDevAtIndex(1, v[0], v[1], v[2], v[3], v[4], v[5]);
  EXPECT_EQ(v[1], 2.0F);
  EXPECT_FALSE(eop.setStdDevs(2, 1, 2, 3, 4, 5, 6));
}

TEST(EOPDataChange, EmptyStoreHasStandardDeviationsForAllItsRecords) {
  EXPECT_TRUE(EOPData().hasStdDevs());
}

TEST(EOPDataChange, CopyIsAValueOfItsOwn) {
  EOPData const source = twoRecords();
  EOPData copy = source;
  copy.setEOP(0, eopAt(1.0, 99.0));
  copy.setPOSSource("other");
  EXPECT_EQ(record(source, 0).x, 1.0);
  EXPECT_EQ(source.posSource(), "");
  EXPECT_EQ(copy.numSets(), 2);
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
