// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "EopFiles.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <vector>

namespace test {

/// Makes stores as they come from a file.
class EopStoreTest : public testing::Test {
protected:
  /// The records of `eopRecords`, at these times, with standard deviations.
  sensor::EOPData store(std::vector<double> const& times) const {
    EopFile file;
    file.records = eopRecords(static_cast<int>(times.size()));
    for (std::size_t i = 0; i < times.size(); ++i) {
      file.records[i].time = times[i];
    }
    file.stdDevs = true;
    return sensor::EOPData(mFolder.file("a.eop", file.bytes()), true, true);
  }

  TempFolder mFolder;
};

inline sensor::EOP recordOf(sensor::EOPData const& eop, int i) {
  sensor::EOP out;
  EXPECT_EQ(eop.atIndex(i, out), 0) << i;
  return out;
}

inline sensor::EOP orientationAt(sensor::EOPData const& eop, double t) {
  sensor::EOP out;
  EXPECT_EQ(eop.atGPS(sensor::seconds(t), out), 0) << t;
  return out;
}

inline void expectSameAttitude(sensor::EOP const& a, sensor::EOP const& b) {
  EXPECT_THAT(a.q0, SameBits(b.q0));
  EXPECT_THAT(a.q1, SameBits(b.q1));
  EXPECT_THAT(a.q2, SameBits(b.q2));
  EXPECT_THAT(a.q3, SameBits(b.q3));
}

inline void expectSame(sensor::EOP const& a, sensor::EOP const& b) {
  EXPECT_THAT(a.gpsTime, SameBits(b.gpsTime));
  EXPECT_THAT(a.status, SameBits(b.status));
  expectSameAttitude(a, b);
  EXPECT_THAT(a.x, SameBits(b.x));
  EXPECT_THAT(a.y, SameBits(b.y));
  EXPECT_THAT(a.z, SameBits(b.z));
}

/// Standard deviations as a look-up gives them.
struct Deviations {
  int result;
  std::array<float, 6> values;
};

inline Deviations deviationsAt(sensor::EOPData const& eop, double t) {
  Deviations d{};
  auto& v = d.values;
  d.result = eop.stdDevAtGPS(sensor::seconds(t), v[0], v[1], v[2], v[3], v[4], v[5]);
  return d;
}

inline std::array<float, 6> deviationsOf(sensor::EOPData const& eop, int i) {
  std::array<float, 6> v{};
  EXPECT_EQ(eop.stdDevAtIndex(i, v[0], v[1], v[2], v[3], v[4], v[5]), 0);
  return v;
}

}  // namespace test
