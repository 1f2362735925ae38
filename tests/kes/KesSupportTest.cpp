// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using test::onStripA;
using testing::HasSubstr;

// In the order and the notation of the files that the library writes.
constexpr char file[] = "support_file d\n"
                        "IMAGE_ID \"Line 7PANF27A\"\n"
                        "IMAGE_FILE_NAME 1 \"/data/a b.tif\"\n"
                        "LINES 200\n"
                        "RECTIFICATION_TERMS\n"
                        "\t0.00000000000000e+00 0.00000000000000e+00 1.00000000000000e+00\n"
                        "\t0.00000000000000e+00 1.00000000000000e+00 0.00000000000000e+00\n"
                        "BIAS 0.000000 GAIN 1.000000\n"
                        "GROUND_ZERO -1.25000000000000e+02 2.50000000000000e-01 1.00000000000000e+01\n"
                        "MAX_AND_MIN_ELEVATION 408.686 2718.093\n"
                        "SENSOR_TYPE KES\n"
                        "ANCHOR_LATITUDE 0.500000000000\n"
                        "LEVEL_0_GSD 0.27955234\n"
                        "ORIGINAL_ORIENTATION \n"
                        "ADJUSTED_ORIENTATION odf/a b.odf\n";

// 0.5 radians are 90 / pi = 28.64788975654116 degrees.
TEST(KesSupportInfo, ListsKeysAndValuesWithTheirUnits) {
  test::TempFolder const folder;
  KesRun const run = kes({"support", "info", folder.file("a.sup", file)});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "image id:               Line 7PANF27A\n"
                     "image file name:        /data/a b.tif\n"
                     "lines:                  200\n"
                     "rectification terms:    0, 0, 1, 0, 1, 0\n"
                     "bias:                   0\n"
                     "gain:                   1\n"
                     "ground zero:            -125, 0.25, 10 m\n"
                     "max and min elevation:  408.686, 2718.093 m\n"
                     "sensor type:            KES\n"
                     "anchor latitude:        28.64788975654116 deg\n"
                     "level 0 gsd:            0.27955234 m\n"
                     "original orientation:   \n"
                     "adjusted orientation:   odf/a b.odf\n");
}

TEST(KesSupportInfo, JsonHasNumbersTextsAndArrays) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.sup", file);
  KesRun const run = kes({"support", "info", name, "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(json::parse(run.out), json({{"file", name},
                                        {"imageId", "Line 7PANF27A"},
                                        {"imageFileName", "/data/a b.tif"},
                                        {"lines", 200},
                                        {"rectificationTerms", {0.0, 0.0, 1.0, 0.0, 1.0, 0.0}},
                                        {"bias", 0.0},
                                        {"gain", 1.0},
                                        {"groundZero", {-125.0, 0.25, 10.0}},
                                        {"maxAndMinElevation", {408.686, 2718.093}},
                                        {"sensorType", "KES"},
                                        {"anchorLatitude", 28.64788975654116},
                                        {"level0Gsd", 0.27955234},
                                        {"originalOrientation", ""},
                                        {"adjustedOrientation", "odf/a b.odf"}}));
}

TEST(KesSupportInfo, CarriageReturnsBlankLinesAndUnknownKeysDontMatter) {
  test::TempFolder const folder;
  KesRun const run = kes({"support", "info", folder.file("a.sup", "support_file d\r\n\r\nNEW_KEY 1 two 3\r\nLINES 5")});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "new key:  1 two 3\nlines:    5\n");
}

TEST(KesSupportInfo, OtherFilesAreRefused) {
  test::TempFolder const folder;
  auto const messageOn = [](std::string const& name) {
    KesRun const run = kes({"support", "info", name});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "");
    return run.err;
  };
  std::string const none = folder / "none";
  EXPECT_EQ(messageOn(none), "kes: error: can't open " + none + "\n");
  EXPECT_EQ(messageOn(folder.path()), "kes: error: can't open " + folder.path() + "\n");
  std::string const fifo = folder / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(messageOn(fifo), "kes: error: can't open " + fifo + "\n");
  for (std::string const& text : {std::string(), std::string("LINES 5\n"), std::string("support_files d\n"),
                                  "support_file d\n" + std::string(1 << 20, 'x')}) {
    std::string const other = folder.file("other", text);
    EXPECT_EQ(messageOn(other), "kes: error: not a support file: " + other + "\n");
  }
}

std::vector<std::string> exportOf(std::string const& out, std::vector<std::string> const& more) {
  std::vector<std::string> arguments{out, "--band"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return onStripA({"support", "export"}, arguments);
}

// The strip has an adjusted orientation; a support file shows the original one.
TEST(KesSupportExport, WritesTheFileOfABand) {
  test::TempFolder const folder;
  std::string const out = folder / "out.sup";
  KesRun const run = kes(exportOf(out, {"REDB16A", "--original", "odf/a.odf", "--adjusted", "odf/b.odf"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out + run.err, "");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
  json const info = json::parse(kes({"support", "info", out, "--json"}).out);
  EXPECT_EQ(info["imageId"], "Line7_camREDB16A");
  EXPECT_EQ(info["lines"], 200);
  EXPECT_EQ(info["originalOrientation"], "odf/a.odf");
  EXPECT_EQ(info["adjustedOrientation"], "odf/b.odf");
  EXPECT_EQ(info["basis"].size(), 9U);
  for (json const& band : test::stripA::expected().at("strips").at(1).at("bands")) {
    if (band.at("band") == "REDB16A") {
      EXPECT_NEAR(info["level0Gsd"].get<double>(), band.at("gsd").at("value").get<double>(), 0.5e-8);
    }
  }
}

TEST(KesSupportExport, WithoutOrientationsTheirNamesAreEmptyOrMissing) {
  test::TempFolder const folder;
  std::string const out = folder.file("out.sup", "old");
  ASSERT_EQ(kes(exportOf(out, {"PANN00A"})).code, 0);
  json const info = json::parse(kes({"support", "info", out, "--json"}).out);
  EXPECT_EQ(info["originalOrientation"], "");
  EXPECT_FALSE(info.contains("adjustedOrientation"));
}

TEST(KesSupportExport, WarnsOfNamesThatAnImportWouldCut) {
  test::TempFolder const folder;
  KesRun const run = kes(exportOf(folder / "out.sup", {"PANN00A", "--original", "my odf/a.odf"}));
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: warning: an import reads the name only up to its blank: my odf/a.odf\n");
}

TEST(KesSupportExport, FailuresLeaveTheOldFile) {
  test::TempFolder const folder;
  std::string const out = folder.file("out.sup", "old");
  EXPECT_THAT(kes(exportOf(out, {"PANX"})).err,
              HasSubstr("kes: error: strip \"Line7_cam\" has no band \"PANX\"; it has PANF27A, "));
  EXPECT_EQ(test::contents(out), "old");
  KesRun const noFolder = kes(exportOf(folder / "none/out.sup", {"PANN00A"}));
  EXPECT_EQ(noFolder.code, 1);
  EXPECT_EQ(noFolder.err, "kes: error: can't write " + (folder / "none/out.sup") + ": No such file or directory\n");
  KesRun const onFolder = kes(exportOf(folder.path(), {"PANN00A"}));
  EXPECT_EQ(onFolder.err, "kes: error: can't write " + folder.path() + ": it is a folder\n");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST(KesSupportExport, FullDiskLeavesTheOldFile) {
  test::SmallFileSystem const disk(1 << 16);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::string const out = disk / "out.sup";
  ASSERT_EQ(kes(exportOf(out, {"PANN00A"})).code, 0);
  std::string const old = test::contents(out);
  disk.fill();
  int const entries = test::entryCount(disk.path());
  KesRun const run = kes(exportOf(out, {"REDB16A"}));
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: can't write " + out + "\n");
  EXPECT_EQ(test::contents(out), old);
  EXPECT_EQ(test::entryCount(disk.path()), entries);
}

TEST(KesSupportExport, WrongUsageGivesTwo) {
  EXPECT_EQ(kes({"support"}).code, 2);
  EXPECT_EQ(kes({"support", "info"}).code, 2);
  EXPECT_EQ(kes(onStripA({"support", "export"}, {"out.sup"})).code, 2) << "without a band";
}

}  // namespace
