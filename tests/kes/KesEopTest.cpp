// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>
#include <sensor/TimeQuantity.h>

#include <nlohmann/json.hpp>

#include <cmath>

// `kes eop`.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

TEST(KesEop, InfoDescribesAFile) {
  json const info = json::parse(kes({"eop", "info", test::stripA::path("project/eop/v2_std.eop"), "--json"}).out);
  json expected;
  for (json const& file : test::stripA::expected().at("eop_files")) {
    if (file.at("file") == "project/eop/v2_std.eop") {
      expected = file;
    }
  }
  EXPECT_EQ(info["version"], 2);
  EXPECT_EQ(info["records"], expected["numSets"]);
  EXPECT_EQ(info["start"], expected["startTime"]);
  EXPECT_EQ(info["end"], expected["endTime"]);
  EXPECT_EQ(info["frequency"], expected["frequency"]);
  EXPECT_EQ(info["standardDeviations"], true);
  EXPECT_EQ(info["absoluteTime"], expected["absTime"]);
  EXPECT_THAT(kes({"eop", "info", test::stripA::path("project/eop/v2_std.eop")}).out, HasSubstr("version:"));
}

TEST(KesEop, AtPrintsRecordsAsCsv) {
  KesRun const run = kes({"eop", "at", test::stripA::path("project/eop/flight.eop"), "312340", "1"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, testing::StartsWith("time,status,q0,q1,q2,q3,x,y,z,omega,phi,kappa,sx,sy,sz,somega,sphi,skappa\n"
                                           "312340,0,"));
  EXPECT_THAT(run.out, HasSubstr("\n1,-1,"));
}

TEST(KesEop, ConversionWritesTheThreeFormats) {
  test::TempFolder const folder;
  std::string const source = test::stripA::path("project/eop/v1_std.eop");
  EXPECT_EQ(kes({"eop", "convert", source, folder / "a.eop", "--to", "binary"}).code, 0);
  EXPECT_EQ(kes({"eop", "convert", source, folder / "a.txt", "--to", "ascii"}).code, 0);
  EXPECT_EQ(kes({"eop", "convert", source, folder / "a.lop", "--to", "lop"}).code, 0);
  json const info = json::parse(kes({"eop", "info", folder / "a.eop", "--json"}).out);
  EXPECT_EQ(info["version"], 3);
  EXPECT_EQ(info["standardDeviations"], true);
  EXPECT_THAT(test::contents(folder / "a.txt"), testing::StartsWith("Anchor Point [rad/m]\n"));
  EXPECT_EQ(test::contents(folder / "a.lop").size(), 48 * info["records"].get<std::size_t>());
}

TEST(KesEop, BrokenFilesAreErrors) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.eop", "EOP_");
  KesRun const run = kes({"eop", "info", name});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Unknown EOP version in file: " + name + "\n");
}

TEST(KesEop, ListingAndLopFileAreNamedAsSuch) {
  test::TempFolder const folder;
  std::string const listing = folder / "a.txt";
  ASSERT_EQ(kes({"eop", "convert", test::stripA::path("project/eop/v1_std.eop"), listing, "--to", "ascii"}).code, 0);
  EXPECT_EQ(kes({"eop", "info", listing}).err,
            "kes: error: " + listing +
                " is a listing, which can't be read; the binary file that it was made from can\n");
  std::string const lop = folder / "a.lop";
  std::string const binary = test::stripA::path("project/eop/v1_std.eop");
  ASSERT_EQ(kes({"eop", "convert", binary, lop, "--to", "lop"}).code, 0);
  std::string const records = std::to_string(test::contents(lop).size() / 48);
  EXPECT_EQ(kes({"eop", "info", lop}).err,
            "kes: error: " + lop + " is an LOP file of " + records +
                " records without times, which can't be read; the binary file that it was made from can\n");
  // Bytes that aren't numbers of a position and angles are no such file.
  std::string const other = folder.file("other", std::string(48, 'x'));
  EXPECT_EQ(kes({"eop", "info", other}).err, "kes: error: Unknown EOP version in file: " + other + "\n");
}

/// An orientation whose records are those of a function of the seconds since its start.
class KesEopMade : public testing::Test {
protected:
  static constexpr double PI = 3.14159265358979323846;

  template <class Record>
  std::string write(std::string const& name, Record record, geo::XYZPoint const& anchor = {-1.4, 0.6, 500.0},
                    std::uint32_t absoluteTime = 0) const {
    sensor::EOPData eop;
    eop.setAnchorPoint(anchor);
    for (int i = 0; i < 256; ++i) {
      sensor::EOP made = record(i / 64.0);
      made.gpsTime = 1000.0 + i / 64.0;
      eop.addEOP(made);
    }
    eop.setAbsTime(sensor::seconds(absoluteTime));
    eop.write(mFolder / name, 0);
    return mFolder / name;
  }
  static sensor::EOP level(double t) {
    sensor::EOP record;
    record.q0 = 1.0F;
    record.x = 60.0 * t;
    record.z = 1000.0;
    return record;
  }

  test::TempFolder mFolder;
};

TEST_F(KesEopMade, DayIsStatedWhereItIsKnown) {
  // 2009-02-13 23:31:30 UTC; (1234567890 - 315964800) / 604800 = 1518.86.
  std::string const known = write("a.eop", level, {-1.4, 0.6, 500.0}, 1234567890);
  EXPECT_THAT(kes({"eop", "info", known}).out,
              HasSubstr("absolute time:        1234567890 s, 2009-02-13 23:31:30 UTC, GPS week 1518\n"));
  EXPECT_THAT(kes({"eop", "info", write("b.eop", level)}).out, HasSubstr("absolute time:        0 s\n"));
}

TEST_F(KesEopMade, AnglesAreThoseOfTheQuaternion) {
  // A quarter of a right angle about the vertical.
  auto const turned = [](double t) {
    sensor::EOP record = level(t);
    record.q0 = static_cast<float>(std::cos(PI / 16.0));
    record.q3 = static_cast<float>(std::sin(PI / 16.0));
    return record;
  };
  std::string const line = kes({"eop", "at", write("a.eop", turned), "1001"}).out;
  std::vector<std::string> fields;
  std::istringstream row(line.substr(line.find('\n') + 1));
  for (std::string field; std::getline(row, field, ',');) {
    fields.push_back(field);
  }
  ASSERT_EQ(fields.size(), 18U);
  EXPECT_NEAR(std::stod(fields[6]), 60.0, 1e-9);
  EXPECT_NEAR(std::stod(fields[9]), 0.0, 1e-9);
  EXPECT_NEAR(std::stod(fields[10]), 0.0, 1e-9);
  EXPECT_NEAR(std::fabs(std::stod(fields[11])), 22.5, 1e-5);
}

TEST_F(KesEopMade, DifferencesHaveTheirStatistics) {
  auto const other = [](double t) {
    sensor::EOP record = level(t);
    record.x += 0.25;
    record.y += 0.5 * std::sin(2.0 * PI * 4.0 * t);
    // 20 microradians about the camera's x axis.
    record.q1 = 1e-5F;
    return record;
  };
  KesRun const run = kes({"eop", "compare", write("a.eop", level), write("b.eop", other), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const all = json::parse(run.out);
  EXPECT_EQ(all["records"], 256);
  EXPECT_EQ(all["start"], 1000.0);
  EXPECT_NEAR(all["differences"]["east"]["mean"].get<double>(), 0.25, 1e-9);
  EXPECT_NEAR(all["differences"]["east"]["standardDeviation"].get<double>(), 0.0, 1e-9);
  EXPECT_NEAR(all["differences"]["east"]["rms"].get<double>(), 0.25, 1e-9);
  EXPECT_NEAR(all["differences"]["north"]["mean"].get<double>(), 0.0, 1e-9);
  EXPECT_NEAR(all["differences"]["north"]["rms"].get<double>(), 0.5 * std::sqrt(0.5), 1e-9);
  EXPECT_NEAR(all["differences"]["north"]["largest"].get<double>(), 0.5, 1e-9);
  EXPECT_NEAR(all["differences"]["aboutX"]["mean"].get<double>(), 2e-5, 1e-11);
  EXPECT_NEAR(all["differences"]["aboutY"]["mean"].get<double>(), 0.0, 1e-11);
  // All of the sine of 4 Hz is in the octave that ends there; 16 periods make no leak.
  for (json const& band : all["spectrum"]) {
    double const expected = band["to"] == 4.0 ? 0.5 * std::sqrt(0.5) : 0.0;
    EXPECT_NEAR(band["standardDeviation"]["north"].get<double>(), expected, 1e-9) << band["to"];
  }
  EXPECT_EQ(all["spectrum"][0]["to"], 32.0);
  EXPECT_EQ(all["spectrum"].back()["from"], 0.0);
}

TEST_F(KesEopMade, AnchorsMayDiffer) {
  // 100 m higher on the same vertical.
  auto const lower = [](double t) {
    sensor::EOP record = level(t);
    record.z -= 100.0;
    return record;
  };
  json const all = json::parse(
      kes({"eop", "compare", write("a.eop", level), write("b.eop", lower, {-1.4, 0.6, 600.0}), "--json"}).out);
  EXPECT_NEAR(all["differences"]["up"]["rms"].get<double>(), 0.0, 1e-6);
  // Farther to the east the vertical has another direction: a turn about the pole by 1e-6 radians, seen from latitude
  // 0.6, has cos 0.6 of it about north and sin 0.6 about the vertical.
  json const turned = json::parse(
      kes({"eop", "compare", write("a.eop", level), write("c.eop", level, {-1.4 + 1e-6, 0.6, 500.0}), "--json"}).out);
  EXPECT_NEAR(std::fabs(turned["differences"]["aboutY"]["mean"].get<double>()), std::cos(0.6) * 1e-6, 1e-10);
  EXPECT_NEAR(std::fabs(turned["differences"]["aboutZ"]["mean"].get<double>()), std::sin(0.6) * 1e-6, 1e-10);
}

TEST_F(KesEopMade, DifferencesAreATableToo) {
  auto const other = [](double t) {
    sensor::EOP record = level(t);
    record.z += 2.0;
    return record;
  };
  std::string const a = write("a.eop", level);
  std::string const b = write("b.eop", other);
  EXPECT_THAT(kes({"eop", "compare", a, b, "--csv"}).out,
              testing::StartsWith("time,east,north,up,aboutX,aboutY,aboutZ\n1000,0,0,2,0,0,0\n1000.015625,0,0,2,"));
  std::string const text = kes({"eop", "compare", a, b}).out;
  EXPECT_THAT(text, HasSubstr("in common:  256 records of the first, 1000.000000 s to 1003.984375 s\n"));
  EXPECT_THAT(text, testing::ContainsRegex("root mean square +0.0000 +0.0000 +2.0000 +0.00"));
  EXPECT_THAT(text, testing::ContainsRegex("16.000 to 32.000 Hz +0.0000"));
}

TEST_F(KesEopMade, NothingInCommonIsAnError) {
  std::string const a = write("a.eop", level);
  std::string const other = test::stripA::path("project/eop/flight.eop");
  KesRun const run = kes({"eop", "compare", a, other});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: " + a + " and " + other + " have no time in common\n");
}

}  // namespace
