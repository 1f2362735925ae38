// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"
#include "support/StripA.h"

#include <nlohmann/json.hpp>

#include <filesystem>

// What the command line makes of slips, and where it looks for cameras.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using test::onStripA;
using testing::HasSubstr;

std::string const hint = "\nRun with --help for more information.\n";

TEST(KesCommandLine, HelpOfACommandIsThatOfItsOption) {
  KesRun const run = kes({"help", "eop", "at"});
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.out, kes({"eop", "at", "--help"}).out);
  EXPECT_EQ(kes({"help"}).out, kes({"--help"}).out);
}

TEST(KesCommandLine, UnknownCommandGetsASimilarOne) {
  EXPECT_EQ(kes({"porject"}).err, "kes: error: there is no command \"porject\"; did you mean \"project\"?" + hint);
  EXPECT_EQ(kes({"block", "creat"}).err, "kes: error: there is no command \"creat\"; did you mean \"create\"?" + hint);
  KesRun const none = kes({"orthorectify"});
  EXPECT_EQ(none.code, 2);
  EXPECT_EQ(none.err, "kes: error: there is no command \"orthorectify\"" + hint);
}

TEST(KesCommandLine, SeveralBandsMayFollowOneOption) {
  for (std::vector<std::string> const& bands : std::vector<std::vector<std::string>>{
           {"--band", "PANF27A", "PANB14A"}, {"--band", "PANF27A,PANB14A"}, {"--band=PANF27A,PANB14A"}}) {
    std::vector<std::string> arguments{"--grid", "3", "--json"};
    arguments.insert(arguments.begin(), bands.begin(), bands.end());
    KesRun const run = kes(onStripA({"closure"}, arguments));
    ASSERT_EQ(run.code, 0) << run.err;
    json const found = json::parse(run.out)["bands"];
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]["id"], "PANF27A");
    EXPECT_EQ(found[1]["id"], "PANB14A");
  }
}

TEST(KesCommandLine, FileAfterABandIsNoBand) {
  KesRun const run = kes({"closure", "--band", "PANF27A", test::stripA::path("project/strip_cam.stp"), "--calibrations",
                          test::stripA::path("calibration"), "--grid", "3", "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(json::parse(run.out)["bands"].size(), 1U);
}

TEST(KesCommandLine, TypesOfFilesAndFoldersAreNamedOnce) {
  std::string const help = kes({"info", "--help"}).out;
  EXPECT_THAT(help, HasSubstr("\nCamera:\n  --calibrations DIR  "));
  EXPECT_THAT(help, HasSubstr("\n  --settings FILE  "));
}

class KesOpening : public test::BlockFolder {
protected:
  std::string strip() const { return mStrip.write(mFolder); }
  std::string block() const { return file(twoStrips() + test::utm33); }
};

TEST_F(KesOpening, CalibrationsBesideAStripAreFound) {
  KesRun const run = kes({"info", strip(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(json::parse(run.out)["camera"]["folder"], mFolder / ("calibration/KESA0_" + mStrip.sensorId + "/v001"));
}

TEST_F(KesOpening, CalibrationsInTheFolderAboveAStripAreFound) {
  strip();
  for (char const* name : {"PANN00A.ctg", "flight.eop"}) {
    mFolder.file("line/" + std::string(name), test::contents(mFolder / name));
  }
  mFolder.folder("line/raw");
  mFolder.folder("line/images");
  EXPECT_EQ(kes({"info", mFolder.file("line/strip.stp", mStrip.text())}).code, 0);
}

TEST_F(KesOpening, CalibrationsBesideABlockAreFound) {
  KesRun const run = kes({"measures", block()});
  EXPECT_EQ(run.code, 0) << run.err;
}

TEST_F(KesOpening, GivenCalibrationsTakeThePlaceOfThoseBeside) {
  std::string const other = mFolder.folder("other");
  KesRun const run = kes({"info", strip(), "--calibrations", other});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: No calibration found for sensor KESA0 ID: " + mStrip.sensorId +
                         " version: v001; searched: " + other + "; --calibrations names another folder\n");
}

TEST_F(KesOpening, MissingCalibrationOfABlockNamesTheWayOut) {
  std::string const name = block();
  std::filesystem::rename(mFolder / "calibration", mFolder / "elsewhere");
  KesRun const run = kes({"block", "info", name});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::EndsWith("No calibration found for sensor KESA0 ID: " + mStrip.sensorId +
                                         " version: v001; no folder was searched: --calibrations names one\n"));
}

TEST_F(KesOpening, BlockIsntAStripAndAStripIsntABlock) {
  for (char const* command : {"info"}) {
    EXPECT_EQ(kes({command, block()}).err, "kes: error: " + block() + " is a block file, not a strip file\n");
  }
  for (char const* command : {"info", "check"}) {
    EXPECT_EQ(kes({"block", command, strip()}).err, "kes: error: " + strip() + " is a strip file, not a block file\n");
  }
}

TEST_F(KesOpening, NewBlockNamesTheCalibrationsOfItsStrips) {
  std::string const a = addStrip("a.stp", "West");
  std::string const inside = mFolder / "new.blf";
  ASSERT_EQ(kes({"block", "create", inside, a, "--crs", "EPSG:32633"}).code, 0);
  EXPECT_THAT(test::contents(inside), HasSubstr("    <Calibration location=\"calibration\"/>\n</Block>"));
  std::string const outside = mFolder.folder("blocks & co") + "/new.blf";
  ASSERT_EQ(kes({"block", "create", outside, a, "--crs", "EPSG:32633"}).code, 0);
  EXPECT_THAT(test::contents(outside), HasSubstr("<Calibration location=\"" + (mFolder / "calibration") + "\"/>"));
  EXPECT_EQ(kes({"block", "info", outside}).code, 0);
}

TEST_F(KesOpening, NamesOfFoldersAreEscapedInANewBlock) {
  std::string const a = addStrip("a.stp", "West");
  std::filesystem::rename(mFolder / "calibration", mFolder / "a & b");
  std::string const out = mFolder / "new.blf";
  ASSERT_EQ(kes({"block", "create", out, a, "--crs", "EPSG:32633", "--calibrations", mFolder / "a & b"}).code, 0);
  EXPECT_THAT(test::contents(out), HasSubstr("<Calibration location=\"a &amp; b\"/>"));
  EXPECT_EQ(kes({"block", "info", out}).code, 0);
}

}  // namespace
