#include "EopFiles.h"
#include "orientation/Attitude.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <cmath>
#include <limits>

namespace {

using sensor::EOP;
using sensor::EOPData;
using sensor::seconds;
using test::SameBits;

// A store as it comes from a file with records at these times.
class EOPDataLookup : public testing::Test {
protected:
  EOPData store(std::vector<double> const& times) const {
    test::EopFile file;
    file.records = test::eopRecords(static_cast<int>(times.size()));
    for (std::size_t i = 0; i < times.size(); ++i) {
      file.records[i].time = times[i];
    }
    file.stdDevs = true;
    return EOPData(mFolder.file("a.eop", file.bytes()), true, true);
  }

  test::TempFolder mFolder;
};

EOP record(EOPData const& eop, int i) {
  EOP out;
  EXPECT_EQ(eop.atIndex(i, out), 0);
  return out;
}

EOP at(EOPData const& eop, double t) {
  EOP out;
  EXPECT_EQ(eop.atGPS(seconds(t), out), 0) << t;
  return out;
}

// What the exact path makes of a record.
EOP throughAngles(EOP eop) {
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(eop, omega, phi, kappa);
  sensor::opkToQuaternion(static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa), eop);
  return eop;
}

void expectSame(EOP const& a, EOP const& b) {
  EXPECT_EQ(a.gpsTime, b.gpsTime);
  EXPECT_EQ(a.status, b.status);
  EXPECT_THAT(a.q0, SameBits(b.q0));
  EXPECT_THAT(a.q1, SameBits(b.q1));
  EXPECT_THAT(a.q2, SameBits(b.q2));
  EXPECT_THAT(a.q3, SameBits(b.q3));
  EXPECT_EQ(a.x, b.x);
  EXPECT_EQ(a.y, b.y);
  EXPECT_EQ(a.z, b.z);
}

TEST_F(EOPDataLookup, BetweenTwoRecordsAllIsLinear) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EOP const a = record(eop, 1);
  EOP const b = record(eop, 2);
  EOP expected;
  sensor::interpolateEOP(0.75F, a, b, expected);
  expected.gpsTime = 51.75;
  expectSame(at(eop, 51.75), expected);
  EXPECT_EQ(expected.x, 1.75);
  EXPECT_EQ(expected.y, -3.5);
  EXPECT_EQ(expected.status, 2.0F);
}

TEST_F(EOPDataLookup, VeryTimeOfARecordGoesThroughItsAngles) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  for (int i = 0; i < 3; ++i) {
    expectSame(at(eop, 50.0 + i), throughAngles(record(eop, i)));
  }
}

TEST_F(EOPDataLookup, BeforeTheStartPositionGoesOnAtTheFirstRate) {
  EOPData const eop = store({50.0, 50.5, 52.0});
  EOP const out = at(eop, 49.0);
  EOP const first = record(eop, 0);
  EXPECT_EQ(out.status, -1.0F);
  EXPECT_EQ(out.gpsTime, 49.0);
  EXPECT_EQ(out.x, -2.0);  // 1 metre in half a second
  EXPECT_EQ(out.y, 4.0);
  EXPECT_EQ(out.z, 1000.0 - 1.0);
  EXPECT_THAT(out.q3, SameBits(first.q3));
}

// The last interval takes 1.5 s, but the rate is that of the first, which takes half a second.
TEST_F(EOPDataLookup, BehindTheEndPositionGoesOnByTheLastStepAtTheFirstRate) {
  EOPData const eop = store({50.0, 50.5, 52.0});
  EOP const out = at(eop, 53.0);
  EXPECT_EQ(out.status, -1.0F);
  EXPECT_EQ(out.x, 2.0 + 1.0 * 1.0 * 2.0);
  EXPECT_EQ(out.y, -4.0 - 2.0 * 2.0);
  EXPECT_THAT(out.q0, SameBits(record(eop, 2).q0));
}

TEST_F(EOPDataLookup, JustBeforeTheStartIsExtrapolated) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EXPECT_EQ(at(eop, std::nextafter(50.0, 0.0)).status, -1.0F);
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
  EXPECT_NEAR(at(eop, 100.45).x, 9.5, 1e-3);
  EXPECT_NEAR(at(eop, 150.05).x, 10.5, 1e-3);
  EXPECT_NEAR(at(eop, 50.25).x, 2.5, 1e-6);
}

TEST_F(EOPDataLookup, PairOfEqualTimesIsSteppedOver) {
  EOPData const eop = store({50.0, 51.0, 51.0, 52.0});
  EXPECT_EQ(at(eop, 51.5).x, 2.5);
  EXPECT_EQ(at(eop, 50.5).x, 0.5);
  EOP const out = at(eop, 51.0);
  EXPECT_TRUE(std::isfinite(out.x));
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
  EXPECT_EQ(at(eop, 1e300).status, -1.0F);
  EXPECT_EQ(at(eop, -1e300).status, -1.0F);
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

struct Deviations {
  int result;
  float x, y, z, omega, phi, kappa;
};

Deviations deviationsAt(EOPData const& eop, double t) {
  Deviations d{};
  d.result = eop.stdDevAtGPS(seconds(t), d.x, d.y, d.z, d.omega, d.phi, d.kappa);
  return d;
}

TEST_F(EOPDataLookup, StandardDeviationsAreLinear) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  Deviations const d = deviationsAt(eop, 51.25);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.x, 2.25F);
  EXPECT_EQ(d.y, 3.25F);
  EXPECT_EQ(d.z, 4.25F);
  EXPECT_EQ(d.omega, 5.25F);
  EXPECT_EQ(d.phi, 6.25F);
  EXPECT_EQ(d.kappa, 7.25F);
}

TEST_F(EOPDataLookup, StandardDeviationsOutsideAreThoseOfTheEnds) {
  EOPData const eop = store({50.0, 51.0, 52.0});
  EXPECT_EQ(deviationsAt(eop, 49.0).x, 1.0F);
  EXPECT_EQ(deviationsAt(eop, 49.0).result, 0);
  EXPECT_EQ(deviationsAt(eop, 60.0).x, 3.0F);
  EXPECT_EQ(deviationsAt(eop, 60.0).result, 0);
}

TEST_F(EOPDataLookup, StandardDeviationsAtEqualTimesAreThoseOfTheFirst) {
  EOPData const eop = store({50.0, 50.0, 51.0});
  EXPECT_EQ(deviationsAt(eop, 50.0).x, 1.0F);
}

TEST_F(EOPDataLookup, WithoutATableStandardDeviationsAreTheDefaults) {
  EOPData eop;
  Deviations d = deviationsAt(eop, 50.0);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.x, 0.05F);
  EXPECT_EQ(d.z, 0.05F);
  EXPECT_EQ(d.omega, 1e-5F);
  eop.setDefaultStdDevs(1, 2, 3, 4, 5, 6);
  d = deviationsAt(eop, 50.0);
  EXPECT_EQ(d.y, 2.0F);
  EXPECT_EQ(d.kappa, 6.0F);
}

TEST_F(EOPDataLookup, TableShorterThanTheRecordsGivesTheDefaults) {
  EOPData eop = store({50.0, 51.0});
  eop.addEOP(record(eop, 1));
  Deviations const d = deviationsAt(eop, 50.5);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.x, 0.1F);
}

TEST_F(EOPDataLookup, StandardDeviationsOfARecord) {
  EOPData const eop = store({50.0, 51.0});
  Deviations d{};
  EXPECT_EQ(eop.stdDevAtIndex(1, d.x, d.y, d.z, d.omega, d.phi, d.kappa), 0);
  EXPECT_EQ(d.x, 2.0F);
  EXPECT_EQ(d.kappa, 7.0F);
}

TEST_F(EOPDataLookup, HeightRangeSpansAllRecordsInSinglePrecision) {
  float low = 9.0F;
  float high = 9.0F;
  EOPData().heightRange(low, high);
  EXPECT_EQ(low, 0.0F);
  EXPECT_EQ(high, 0.0F);
  store({50.0}).heightRange(low, high);
  EXPECT_EQ(low, 1000.0F);
  EXPECT_EQ(high, 1000.0F);
  store({50.0, 51.0, 52.0}).heightRange(low, high);
  EXPECT_EQ(low, 1000.0F);
  EXPECT_EQ(high, 1001.0F);
}

}  // namespace
