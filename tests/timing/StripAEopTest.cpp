// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"

#include <sensor/EOPData.h>

namespace {

using nlohmann::json;
using sensor::EOP;
using sensor::EOPData;
using sensor::seconds;
using test::realOf;
using test::SameBits;
using test::Table;

// Two units in the last place of a unit quaternion's large components; a small one is the difference of such.
constexpr float twoUlps = 1.2e-7F;

// Calls `check` with each orientation file and what is expected of it.
template <class Check>
void forEachFile(Check check) {
  for (json const& expected : test::stripA::expected().at("eop_files")) {
    SCOPED_TRACE(expected.at("file").get<std::string>());
    check(expected, EOPData(test::stripA::path(expected.at("file").get<std::string>()), true, true));
  }
}

void expectRecord(Table const& table, std::size_t row, EOP const& eop) {
  EXPECT_EQ(eop.gpsTime, table.number(row, "gpsTime"));
  EXPECT_EQ(eop.status, table.real(row, "status"));
  EXPECT_NEAR(eop.q0, table.real(row, "q0"), twoUlps);
  EXPECT_NEAR(eop.q1, table.real(row, "q1"), twoUlps);
  EXPECT_NEAR(eop.q2, table.real(row, "q2"), twoUlps);
  EXPECT_NEAR(eop.q3, table.real(row, "q3"), twoUlps);
  EXPECT_EQ(eop.x, table.number(row, "x"));
  EXPECT_EQ(eop.y, table.number(row, "y"));
  EXPECT_EQ(eop.z, table.number(row, "z"));
}

TEST(StripAEop, FilesHaveTheExpectedHeaders) {
  forEachFile([](json const& expected, EOPData eop) {
    EXPECT_EQ(eop.eopVersion(), expected.at("version").get<int>());
    EXPECT_EQ(eop.numSets(), expected.at("numSets").get<int>());
    EXPECT_EQ(eop.hasStdDevs(), expected.at("hasStdDevs").get<bool>());
    EXPECT_EQ(eop.frequency(), expected.at("frequency").get<double>());
    json const& anchor = expected.at("anchor_lon_lat_h");
    EXPECT_EQ(eop.anchorPoint().x, anchor[0].get<double>());
    EXPECT_EQ(eop.anchorPoint().y, anchor[1].get<double>());
    EXPECT_EQ(eop.anchorPoint().z, anchor[2].get<double>());
    EXPECT_EQ(eop.posSource(), expected.at("posSource").get<std::string>());
    EXPECT_EQ(eop.tmSource(), expected.at("tmSource").get<std::string>());
    EXPECT_EQ(eop.appSource(), expected.at("appSource").get<std::string>());
    EXPECT_EQ(eop.absTime().value(), expected.at("absTime").get<std::uint32_t>());
    float low = 0;
    float high = 0;
    eop.heightRange(low, high);
    EXPECT_THAT(low, SameBits(realOf(expected.at("heightRange")[0])));
    EXPECT_THAT(high, SameBits(realOf(expected.at("heightRange")[1])));
  });
}

TEST(StripAEop, FilesHaveTheExpectedRecords) {
  forEachFile([](json const& expected, EOPData const& eop) {
    Table const table(expected.at("records_after_load"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      EOP record;
      ASSERT_EQ(eop.atIndex(table.at(row, "index").get<int>(), record), 0);
      expectRecord(table, row, record);
    }
  });
}

TEST(StripAEop, TimesHaveTheExpectedOrientation) {
  forEachFile([](json const& expected, EOPData const& eop) {
    Table const table(expected.at("atGPS"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      SCOPED_TRACE(table.number(row, "t"));
      EOP record;
      int const result = eop.atGPS(seconds(table.number(row, "t")), record);
      ASSERT_EQ(result, table.at(row, "result").get<int>());
      if (result == 0) {
        expectRecord(table, row, record);
      }
    }
  });
}

TEST(StripAEop, TimesHaveTheExpectedStandardDeviations) {
  forEachFile([](json const& expected, EOPData const& eop) {
    Table const table(expected.at("stdDevAtGPS"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      SCOPED_TRACE(table.number(row, "t"));
      float v[6];
      EXPECT_EQ(eop.stdDevAtGPS(seconds(table.number(row, "t")), v[0], v[1], v[2], v[3], v[4], v[5]),
                table.at(row, "result").get<int>());
      char const* const names[] = {"x", "y", "z", "omega", "phi", "kappa"};
      for (int i = 0; i < 6; ++i) {
        EXPECT_THAT(v[i], SameBits(table.real(row, names[i])));
      }
    }
  });
}

}  // namespace
