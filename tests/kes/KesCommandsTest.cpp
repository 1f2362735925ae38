// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using test::onStripA;
using testing::HasSubstr;

TEST(Kes, HelpAndVersionAreThereOnEveryLevel) {
  EXPECT_EQ(kes({"--version"}).out, "kes " KESSENSOR_TEST_VERSION "\n");
  for (std::vector<std::string> const& command : std::vector<std::vector<std::string>>{{},
                                                                                       {"simulate"},
                                                                                       {"info"},
                                                                                       {"check"},
                                                                                       {"project"},
                                                                                       {"closure"},
                                                                                       {"measures"},
                                                                                       {"footprint"},
                                                                                       {"eop"},
                                                                                       {"eop", "info"},
                                                                                       {"eop", "at"},
                                                                                       {"eop", "compare"},
                                                                                       {"eop", "convert"},
                                                                                       {"odf"},
                                                                                       {"odf", "info"},
                                                                                       {"odf", "convert"},
                                                                                       {"odf", "merge"},
                                                                                       {"support"},
                                                                                       {"support", "export"},
                                                                                       {"support", "info"},
                                                                                       {"camera"},
                                                                                       {"camera", "versions"},
                                                                                       {"camera", "info"},
                                                                                       {"camera", "quick"},
                                                                                       {"camera", "convert"},
                                                                                       {"ortho"},
                                                                                       {"block"},
                                                                                       {"block", "info"},
                                                                                       {"block", "create"},
                                                                                       {"block", "check"},
                                                                                       {"points"},
                                                                                       {"points", "residuals"},
                                                                                       {"where"},
                                                                                       {"legacy"}}) {
    std::vector<std::string> arguments = command;
    arguments.push_back("--help");
    KesRun const run = kes(arguments);
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.out, HasSubstr("Example: kes "));
  }
}

TEST(Kes, WrongUsageGivesTwo) {
  EXPECT_EQ(kes({}).code, 2);
  EXPECT_EQ(kes({"fly"}).code, 2);
  EXPECT_EQ(kes({"info"}).code, 2);
  EXPECT_EQ(kes({"eop"}).code, 2);
  EXPECT_EQ(kes({"info", "x", "--calibrations", "/none"}).code, 2);
}

TEST(KesInfo, JsonHasTheStripsNumbers) {
  KesRun const run = kes(onStripA({"info"}, {"--json"}));
  ASSERT_EQ(run.code, 0) << run.err;
  json const info = json::parse(run.out);
  json const& expected = test::stripA::expected().at("strips")[0];
  EXPECT_EQ(info["name"], "Line7_cam");
  EXPECT_EQ(info["camera"]["type"], "KESA0");
  EXPECT_EQ(info["camera"]["sensorId"], "30107");
  EXPECT_EQ(info["camera"]["version"], 3);
  EXPECT_EQ(info["camera"]["versionInfo"], "Generated calibration, third version.\n");
  EXPECT_EQ(info["camera"]["folder"], test::stripA::path("calibration/KESA0_30107/v003"));
  EXPECT_EQ(info["eop"]["file"], test::stripA::path("project/eop/flight.eop.adj"));
  EXPECT_EQ(info["eop"]["adjusted"], true);
  EXPECT_EQ(info["eop"]["version"], 3);
  EXPECT_EQ(info["eop"]["records"], 948);
  EXPECT_NEAR(info["eop"]["anchor"]["longitude"].get<double>(), 0.271981164 * 57.29577951308232, 1e-12);
  EXPECT_NEAR(info["eop"]["anchor"]["height"].get<double>(), 408.686, 1e-9);
  EXPECT_EQ(info["meanTerrainHeight"].get<double>(), expected["meanTerrainHeight"]["value"].get<double>());
  EXPECT_EQ(info["meanFlyingHeight"].get<double>(), expected["meanFlyingHeight"]["value"].get<double>());
  EXPECT_NEAR(info["flightAzimuth"].get<double>(), expected["flightAzimuth"]["value"].get<double>() * 57.29577951308232,
              1e-4);
  ASSERT_EQ(info["bands"].size(), 8U);
  json const& green = info["bands"][5];
  EXPECT_EQ(green["id"], "GRNN00A");
  EXPECT_EQ(green["image"], "cam_GRNN00A.tif");
  EXPECT_EQ(green["samples"], 9000);
  EXPECT_EQ(green["lines"], 200);
  for (char const* key : {"gsd", "scale", "lookAngle", "start", "end"}) {
    EXPECT_TRUE(green[key].is_number()) << key;
  }
}

TEST(KesInfo, TextNamesCameraOrientationAndBands) {
  std::string const out = kes(onStripA({"info"})).out;
  EXPECT_THAT(out, HasSubstr("Line7_cam"));
  EXPECT_THAT(out, HasSubstr("KESA0 30107, version 3"));
  EXPECT_THAT(out, HasSubstr("(adjusted)"));
  EXPECT_THAT(out, HasSubstr("NIRF16A"));
}

TEST(KesInfo, MissingStripIsAnError) {
  KesRun const run = kes({"info", "/none.stp"});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Error opening strip file:/none.stp\n");
  EXPECT_EQ(run.out, "");
}

TEST(KesClosure, BandsCloseWithinTheTolerance) {
  KesRun const run = kes(onStripA({"closure"}, {"--json", "--grid", "20"}));
  ASSERT_EQ(run.code, 0) << run.err;
  json const closure = json::parse(run.out);
  ASSERT_EQ(closure["bands"].size(), 8U);
  for (json const& band : closure["bands"]) {
    EXPECT_EQ(band["points"], 1600);
    EXPECT_EQ(band["closes"], true);
    EXPECT_LE(band["lines"]["max"].get<double>(), 0.1);
    EXPECT_LE(band["lines"]["mean"].get<double>(), band["lines"]["max"].get<double>());
    EXPECT_LE(band["lines"]["max"].get<double>(), 1e-6);
    EXPECT_LE(band["samples"]["max"].get<double>(), 1e-6);
    EXPECT_GE(band["passes"]["max"].get<double>(), 1.0);
  }
}

TEST(KesClosure, FormsOfTheLibraryCloseLessTightly) {
  for (std::string const solver : {"point", "run", "vector"}) {
    KesRun const run = kes(onStripA({"closure"}, {"--json", "--grid", "20", "--band", "PANF27A", "--solver", solver}));
    ASSERT_EQ(run.code, 0) << run.err;
    json const band = json::parse(run.out)["bands"][0];
    EXPECT_LE(band["lines"]["max"].get<double>(), 0.1);
    EXPECT_GT(band["lines"]["max"].get<double>(), 1e-6);
    EXPECT_EQ(band["passes"].is_null(), solver != "point");
  }
}

TEST(KesClosure, BandsAreChosen) {
  KesRun const run = kes(onStripA({"closure"}, {"--grid", "5", "--band", "BLUN00A", "--band", "PANF27A"}));
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.out, HasSubstr("\nBLUN00A"));
  EXPECT_THAT(run.out, HasSubstr("\nPANF27A"));
  EXPECT_THAT(run.out, testing::Not(HasSubstr("PANB14A")));
  EXPECT_EQ(kes(onStripA({"closure"}, {"--band", "XXX"})).code, 1);
}

// A flight that stands still sees everything at once: each line sees the same.
TEST(KesClosure, StripThatDoesntCloseGivesOne) {
  test::TempFolder const folder;
  test::SmallStrip strip;
  strip.speed = 0.0;
  KesRun const run = kes({"closure", strip.write(folder), "--calibrations", folder / "calibration", "--grid", "5"});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, HasSubstr("don't close"));
}

TEST(KesCamera, VersionsAreListed) {
  std::string const calibrations = test::stripA::path("calibration");
  KesRun const run = kes({"camera", "versions", "KESA0", "30107", "--calibrations", calibrations, "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const versions = json::parse(run.out)["versions"];
  ASSERT_EQ(versions.size(), 2U);
  EXPECT_EQ(versions[0]["version"], 1);
  EXPECT_EQ(versions[1]["versionInfo"], "Generated calibration, third version.\n");
  EXPECT_EQ(kes({"camera", "versions", "KESA0", "30107", "--calibrations", calibrations}).out,
            "1  No calibration info found.\n3  Generated calibration, third version.\n");
  KesRun const none = kes({"camera", "versions", "KESA0", "1", "--calibrations", calibrations});
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.err, "kes: error: no calibration of camera KESA0 1 found\n");
}

TEST(KesCamera, InfoDescribesAVersion) {
  std::string const calibrations = test::stripA::path("calibration");
  KesRun const run = kes({"camera", "info", "KESA0", "30107", "v003", "--calibrations", calibrations, "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const info = json::parse(run.out);
  EXPECT_EQ(info["version"], 3);
  EXPECT_EQ(info["bands"].size(), 8U);
  EXPECT_EQ(info["bands"][3]["id"], "PANB14A");
  EXPECT_EQ(info["bands"][3]["reverse"], true);
  EXPECT_THAT(kes({"camera", "info", "KESA0", "30107", "3", "--calibrations", calibrations}).out, HasSubstr("PANB14A"));
  EXPECT_EQ(kes({"camera", "info", "KESA0", "30107", "7", "--calibrations", calibrations}).err,
            "kes: error: no calibration of camera KESA0 30107, version 7 found\n");
}

TEST(KesCamera, SettingsNameTheFolderOfCalibrations) {
  test::TempFolder const folder;
  std::string const settings =
      folder.file("kes.ini", "[Calibrations]\nlocation=" + test::stripA::path("calibration") + "\n");
  EXPECT_EQ(kes({"camera", "versions", "KESA0", "30107", "--settings", settings}).code, 0);
}

}  // namespace
