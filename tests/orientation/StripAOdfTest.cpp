// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfStore.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>
#include <sensor/KESOrientation.h>
#include <sensor/ODFConverter.h>

#include <filesystem>

namespace {

using nlohmann::json;
using sensor::EOPData;
using sensor::KESOrientation;
using sensor::ODFConverter;
using test::SameBits;
using test::Table;

constexpr std::array<char const*, 6> deviationNames{"sx", "sy", "sz", "so", "sp", "sk"};

json const& expectedOdf() {
  return test::stripA::expected().at("odf");
}

// Works within the folder of the flight, from where its support files name their ODFs.
class WithinStripA {
public:
  WithinStripA() { std::filesystem::current_path(test::stripA::path("")); }
  ~WithinStripA() {
    std::error_code ignored;
    std::filesystem::current_path(mOld, ignored);
  }
  WithinStripA(WithinStripA const&) = delete;
  WithinStripA& operator=(WithinStripA const&) = delete;

private:
  std::filesystem::path mOld = std::filesystem::current_path();
};

template <class Check>
void forEachFile(Check check) {
  for (json const& expected : expectedOdf().at("files")) {
    SCOPED_TRACE(expected.at("file").get<std::string>());
    check(expected, KESOrientation(test::stripA::path(expected.at("file").get<std::string>())));
  }
}

// Calls `check` with each merge and what the converter made of it.
template <class Check>
void forEachMerge(Check check) {
  WithinStripA const within;
  for (json const& expected : expectedOdf().at("merges")) {
    SCOPED_TRACE(expected.at("supports").dump());
    test::TempFolder const folder;
    ODFConverter converter;
    converter.setOutputFile(folder / "take.eop");
    auto const supports = expected.at("supports").get<std::vector<std::string>>();
    ASSERT_EQ(converter.run(supports, expected.at("adjusted").get<bool>()), expected.at("result").get<int>());
    check(expected, EOPData(folder / "take.eop", true, true));
  }
}

TEST(StripAOdf, FilesHaveTheExpectedHeaders) {
  forEachFile([](json const& expected, KESOrientation const& store) {
    EXPECT_EQ(store.version(), expected.at("version"));
    EXPECT_EQ(store.numSets(), expected.at("numSets"));
    EXPECT_EQ(store.dataSource(), expected.at("dataSource"));
    EXPECT_EQ(store.projectName(), expected.at("projectName"));
    EXPECT_EQ(store.stripName(), expected.at("stripName"));
    EXPECT_EQ(store.comments(), expected.at("comments"));
    EXPECT_EQ(store.absoluteTime().value(), expected.at("absoluteTime"));
    EXPECT_EQ(store.anchorLatitude(), expected.at("anchorLatitude"));
    EXPECT_EQ(store.anchorLongitude(), expected.at("anchorLongitude"));
    EXPECT_EQ(store.baseTime().value(), expected.at("baseTime"));
    EXPECT_EQ(store.baseX(), expected.at("baseX"));
    EXPECT_EQ(store.baseY(), expected.at("baseY"));
    EXPECT_EQ(store.baseZ(), expected.at("baseZ"));
    EXPECT_EQ(json({store.timeScale(), store.positionScale(), store.angularScale(), store.positionStdDevScale(),
                    store.angularStdDevScale()}),
              expected.at("scales"));
  });
}

TEST(StripAOdf, FilesHaveTheExpectedRecords) {
  forEachFile([](json const& expected, KESOrientation const& store) {
    Table const table(expected.at("values"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      int const i = table.at(row, "index").get<int>();
      EXPECT_THAT(store.t(i).value(), SameBits(table.number(row, "t")));
      EXPECT_THAT(store.x(i), SameBits(table.number(row, "x")));
      EXPECT_THAT(store.y(i), SameBits(table.number(row, "y")));
      EXPECT_THAT(store.z(i), SameBits(table.number(row, "z")));
      EXPECT_THAT(store.omega(i), SameBits(table.number(row, "omega")));
      EXPECT_THAT(store.phi(i), SameBits(table.number(row, "phi")));
      EXPECT_THAT(store.kappa(i), SameBits(table.number(row, "kappa")));
      test::OdfStdDevs const v = test::stdDevsOf(store, i);
      for (std::size_t k = 0; k < v.size(); ++k) {
        EXPECT_THAT(v[k], SameBits(table.real(row, deviationNames[k])));
      }
    }
  });
}

// The files were packed independently from values that unpacking gives back but for its rounding: repacking keeps the
// bases and moves no packed value by more than the half that negative ones gain.
TEST(StripAOdf, FilesCanBePackedAgain) {
  forEachFile([](json const& expected, KESOrientation store) {
    auto const before = store.records();
    store.CalculateInternalVectors();
    ASSERT_EQ(store.compress(), 2);
    EXPECT_EQ(store.baseX(), expected.at("baseX"));
    for (std::size_t i = 0; i < before.size(); ++i) {
      EXPECT_NEAR(store.records()[i].t, before[i].t, 1);
      EXPECT_NEAR(store.records()[i].kappa, before[i].kappa, 1);
      EXPECT_GE(store.records()[i].x, before[i].x);
    }
  });
}

TEST(StripAOdf, FilesAreWrittenAsTheyWere) {
  test::TempFolder const folder;
  forEachFile([&](json const& expected, KESOrientation store) {
    if (expected.at("version") == "ODF 1.2") {
      ASSERT_EQ(store.write(folder / "a.odf"), 2);
      std::string const original = test::contents(store.fileName());
      // Without internal vectors the packed records and bases stay as they are.
      EXPECT_EQ(test::contents(folder / "a.odf"), original);
    }
  });
}

TEST(StripAOdf, MergesHaveTheExpectedHeaders) {
  forEachMerge([](json const& expected, EOPData const& eop) {
    EXPECT_EQ(eop.numSets(), expected.at("numSets"));
    EXPECT_EQ(eop.absTime().value(), expected.at("absTime"));
    json const& anchor = expected.at("anchor_lon_lat_h");
    EXPECT_EQ(eop.anchorPoint().x, anchor[0].get<double>());
    EXPECT_EQ(eop.anchorPoint().y, anchor[1].get<double>());
    EXPECT_EQ(eop.anchorPoint().z, anchor[2].get<double>());
    EXPECT_TRUE(eop.hasStdDevs());
  });
}

// The expected quaternions are those before they went through the angles of a file, and before their signs were made to
// go on from record to record.
void expectAttitude(Table const& table, std::size_t row, sensor::EOP const& record) {
  constexpr float fewUlps = 3.6e-7F;
  constexpr std::array<char const*, 4> names{"q0", "q1", "q2", "q3"};
  std::array<float, 4> const q{record.q0, record.q1, record.q2, record.q3};
  float const sign = q[3] * table.real(row, "q3") < 0 ? -1.0F : 1.0F;
  for (std::size_t k = 0; k < q.size(); ++k) {
    EXPECT_NEAR(sign * q[k], table.real(row, names[k]), fewUlps) << row;
  }
}

TEST(StripAOdf, MergesHaveTheExpectedRecords) {
  forEachMerge([](json const& expected, EOPData const& eop) {
    Table const table(expected.at("records"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      int const i = table.at(row, "index").get<int>();
      sensor::EOP record;
      ASSERT_EQ(eop.atIndex(i, record), 0);
      EXPECT_THAT(record.gpsTime, SameBits(table.number(row, "gpsTime")));
      EXPECT_THAT(record.status, SameBits(table.real(row, "status")));
      expectAttitude(table, row, record);
      EXPECT_THAT(record.x, SameBits(table.number(row, "x")));
      EXPECT_THAT(record.y, SameBits(table.number(row, "y")));
      EXPECT_THAT(record.z, SameBits(table.number(row, "z")));
      test::OdfStdDevs v{};
      eop.stdDevAtIndex(i, v[0], v[1], v[2], v[3], v[4], v[5]);
      for (std::size_t k = 0; k < v.size(); ++k) {
        EXPECT_THAT(v[k], SameBits(table.real(row, deviationNames[k])));
      }
    }
  });
}

TEST(StripAOdf, MergesRepeatTimesWhereExpected) {
  forEachMerge([](json const& expected, EOPData const& eop) {
    int repeated = 0;
    for (int i = 1; i < eop.numSets(); ++i) {
      sensor::EOP before;
      sensor::EOP record;
      eop.atIndex(i - 1, before);
      eop.atIndex(i, record);
      repeated += record.gpsTime == before.gpsTime;
      sensor::EOP out;
      EXPECT_EQ(eop.atGPS(sensor::seconds((before.gpsTime + record.gpsTime) / 2), out), 0);
    }
    EXPECT_EQ(repeated, expected.at("repeated_times"));
  });
}

}  // namespace
