// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <filesystem>
#include <future>

namespace {

using test::kes;
using test::KesRun;
using testing::HasSubstr;

TEST(KesSimulate, WritesAStripThatChecksAndCloses) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN, "--lines", "300", "--samples", "200", "--seed",
                          "9", "--height", "1500", "--heading", "30"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  std::vector<std::string> const strip{out + "/strip.stp", "--calibrations", out + "/calibration"};
  EXPECT_EQ(kes({"check", strip[0], strip[1], strip[2]}).out, "valid\n");
  EXPECT_EQ(kes({"closure", strip[0], strip[1], strip[2], "--grid", "10"}).code, 0);
  KesRun const again = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN});
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(again.err, "kes: error: " + out + " exists and is not an empty folder\n");
  EXPECT_EQ(kes({"simulate", folder / "x", "--dem", folder / "none.tif"}).code, 2);
}

std::vector<std::string> small(std::string const& out, std::vector<std::string> const& more) {
  std::vector<std::string> arguments{"simulate", out, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(KesSimulate, RendersTheBandsAskedFor) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes(small(out, {"--render", "PANN00A", "--render", "PANF27A"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("image:             " + out +
                                 "/images/Line1_PANF27A.tif\n"
                                 "image:             " +
                                 out + "/images/Line1_PANN00A.tif\n"));
  EXPECT_EQ(test::entryCount(out + "/images"), 4);
  EXPECT_TRUE(test::exists(out + "/images/Line1_PANN00A.tif"));
  EXPECT_TRUE(test::exists(out + "/images/Line1_PANN00A.stat"));
}

TEST(KesSimulate, NamesImagesBelowAFolderThatIsRelative) {
  test::TempFolder const folder;
  std::string const out = std::filesystem::relative(folder / "flight").string();
  KesRun const run = kes(small(out, {"--render", "PANN00A"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("image:             " + out + "/images/Line1_PANN00A.tif\n"));
}

TEST(KesSimulate, RendersAllBandsSoThatImagesCheck) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  ASSERT_EQ(kes(small(out, {"--render", "all"})).code, 0);
  EXPECT_EQ(kes({"check", "--images", out + "/strip.stp", "--calibrations", out + "/calibration"}).out, "valid\n");
}

TEST(KesSimulate, RendersNothingUnasked) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  ASSERT_EQ(kes(small(out, {})).code, 0);
  EXPECT_EQ(test::entryCount(out + "/images"), 0);
}

TEST(KesSimulate, TakesATexture) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  std::string const other = folder / "other";
  KesRun const run = kes(small(out, {"--render", "PANN00A", "--texture", KESSENSOR_TERRAIN}));
  ASSERT_EQ(run.code, 0) << run.err;
  ASSERT_EQ(kes(small(other, {"--render", "PANN00A", "--texture-seed", "2"})).code, 0);
  EXPECT_NE(test::contents(out + "/images/Line1_PANN00A.tif"), test::contents(other + "/images/Line1_PANN00A.tif"));
}

TEST(KesSimulate, WrongImagesAreToldBeforeAnythingIsWritten) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const band = kes(small(out, {"--render", "PANX"}));
  EXPECT_EQ(band.code, 1);
  EXPECT_EQ(
      band.err,
      "kes: error: no band \"PANX\" in the camera, which has PANF27A, PANF27B, PANN00A, PANN00B, PANB14A, PANB14B, "
      "REDF16A, GRNF16A, BLUF16A, NIRF16A\n");
  std::string const text = folder.file("text.txt", "no image");
  KesRun const texture = kes(small(out, {"--render", "all", "--texture", text}));
  EXPECT_EQ(texture.code, 1);
  EXPECT_THAT(texture.err, testing::StartsWith("kes: error: can't use texture " + text + ": "));
  EXPECT_EQ(kes(small(out, {"--texture", KESSENSOR_TERRAIN})).code, 2) << "without an image";
  EXPECT_EQ(kes(small(out, {"--render", "all", "--texture", folder / "none"})).code, 2);
  EXPECT_FALSE(test::exists(out));
}

TEST(KesSimulate, WritesOrientationFilesOfBands) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes(small(out, {"--odf"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("support file:      " + out + "/odf/PANN00A.sup\n"));
  EXPECT_EQ(test::contents(out + "/odf/PANN00A.odf").substr(0, 8), std::string("ODF 1.2\0", 8));
  std::string const old = folder / "old";
  ASSERT_EQ(kes({"simulate", "--odf=1.0", old, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64"}).code,
            0);
  EXPECT_EQ(test::contents(old + "/odf/PANN00A.adj.odf").substr(0, 8), std::string("ODF 1.0\0", 8));
  EXPECT_EQ(kes(small(folder / "other", {"--odf=1.1"})).code, 2);
  EXPECT_FALSE(test::exists(folder / "other"));
}

TEST(KesSimulate, WritesACameraOfXmlFiles) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes(small(out, {"--hdb"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "strip:             " + out + "/strip.stp\nHDB00 strip:       " + out +
                         "/strip_hdb.stp\ncalibrations:      " + out + "/calibration\ntrue orientation:  " + out +
                         "/truth/flight.eop\n");
  std::vector<std::string> const calibrations{"--calibrations", out + "/calibration"};
  KesRun const camera = kes({"camera", "info", "HDB00", "00064", "1", calibrations[0], calibrations[1]});
  EXPECT_EQ(camera.code, 0) << camera.err;
  EXPECT_THAT(camera.out, HasSubstr("camera:        HDB00 00064\n"));
  EXPECT_THAT(camera.out, HasSubstr("NIRF16A       64  62.70000     6.500    16.300       no      860.0      55.0"));
  KesRun const info = kes({"info", out + "/strip_hdb.stp", calibrations[0], calibrations[1]});
  EXPECT_EQ(info.code, 0) << info.err;
  EXPECT_THAT(info.out, HasSubstr("Line1_HDB\n"));
  EXPECT_THAT(info.out, HasSubstr("HDB00 00064"));
  EXPECT_EQ(kes({"check", out + "/strip_hdb.stp", calibrations[0], calibrations[1]}).out, "valid\n");
}

TEST(KesSimulate, FullDiskLeavesNothing) {
  test::SmallFileSystem const disk(102400);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  KesRun const run = kes(small(disk / "flight", {"--render", "all"}));
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(test::entryCount(disk.path()), 0);
}

TEST(KesSimulate, FilesOfTheUserBesideItStay) {
  test::TempFolder const folder;
  std::string const mine = folder.file("flight.part/mine.txt", "mine");
  ASSERT_EQ(kes(small(folder / "flight", {})).code, 0);
  EXPECT_EQ(test::contents(mine), "mine");
  EXPECT_EQ(test::entryCount(folder.path()), 2);
}

// One of them is first; the other finds the folder full, at its start or at its end.
TEST(KesSimulate, RunsAtOnceIntoOneFolderDontMix) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  auto other = std::async(std::launch::async, [&] { return kes(small(out, {"--seed", "2"})); });
  KesRun const run = kes(small(out, {"--seed", "3"}));
  std::vector<int> const codes{run.code, other.get().code};
  EXPECT_THAT(codes, testing::UnorderedElementsAre(0, 1));
  std::string const expected = folder / "expected";
  ASSERT_EQ(kes(small(expected, {"--seed", run.code == 0 ? "3" : "2"})).code, 0);
  EXPECT_EQ(test::contents(out + "/eop/flight.eop"), test::contents(expected + "/eop/flight.eop"));
  EXPECT_EQ(test::entryCount(folder.path()), 2);
}

std::vector<std::string> smallBlock(std::string const& out, std::vector<std::string> const& more) {
  std::vector<std::string> arguments{"simulate", out,        "--dem", KESSENSOR_TERRAIN, "--lines", "4000", "--samples",
                                     "600",      "--height", "1000",  "--strips",        "2"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(KesSimulate, StripsMakeABlock) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  KesRun const run = kes(smallBlock(out, {"--cross", "1", "--points", "12", "--render", "PANN00A"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "block:          " + out + "/block.blf\ncalibrations:   " + out + "/calibration\nground points:  " + out +
                "/control/controls.gpt\nstrip:          " + out + "/Line1/strip.stp\nimage:          " + out +
                "/Line1/images/Line1_PANN00A.tif\nstrip:          " + out + "/Line2/strip.stp\nimage:          " + out +
                "/Line2/images/Line2_PANN00A.tif\nstrip:          " + out +
                "/Cross1/strip.stp\nimage:          " + out + "/Cross1/images/Cross1_PANN00A.tif\n");
  EXPECT_EQ(kes({"check", out + "/Line2/strip.stp", "--calibrations", out + "/calibration"}).out, "valid\n");
}

TEST(KesSimulate, BlockTakesItsOptions) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  KesRun const run =
      kes(smallBlock(out, {"--points", "7", "--noise", "0.5", "--overlap", "40", "--crs", "EPSG:32617"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(test::contents(out + "/block.blf"), HasSubstr("<CoordinateSystem definition=\"EPSG:32617\"/>"));
  EXPECT_THAT(test::contents(out + "/control/controls.gpt"), testing::StartsWith("\"P001\"  "));
  EXPECT_THAT(test::contents(out + "/control/controls.gpt"), HasSubstr("\n\"P007\"  "));
  EXPECT_THAT(test::contents(out + "/control/controls.gpt"), testing::Not(HasSubstr("\n\"P008\"  ")));
  EXPECT_THAT(test::contents(out + "/Line1/Line1_PANN00A.ipt"), HasSubstr(" 0.500 0.500 1\n"));
  std::string const near = folder / "near";
  ASSERT_EQ(kes(smallBlock(near, {"--points", "7", "--overlap", "80"})).code, 0);
  EXPECT_NE(test::contents(out + "/Line1/footprints/PANN00A.xml"),
            test::contents(near + "/Line1/footprints/PANN00A.xml"));
}

TEST(KesSimulate, BlockHasACameraOfXmlFiles) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  KesRun const run = kes(smallBlock(out, {"--points", "7", "--hdb"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "block:          " + out + "/block.blf\ncalibrations:   " + out +
                         "/calibration\nground points:  " + out + "/control/controls.gpt\nstrip:          " + out +
                         "/Line1/strip.stp\nHDB00 strip:    " + out + "/Line1/strip_hdb.stp\nstrip:          " + out +
                         "/Line2/strip.stp\nHDB00 strip:    " + out + "/Line2/strip_hdb.stp\n");
}

// A block's strips are longer than a strip alone, unless their length is given.
TEST(KesSimulate, BlockHasLinesOfItsOwn) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  KesRun const run = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN, "--samples", "64", "--strips", "1"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(std::filesystem::file_size(out + "/Line1/timing/PANN00A.ctg"), 20000 * sizeof(double));
}

TEST(KesSimulate, WrongBlocksAreTold) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  for (char const* option : {"--cross", "--overlap", "--points", "--noise", "--crs"}) {
    EXPECT_EQ(kes(small(out, {option, "1"})).code, 2) << option << " without strips";
  }
  KesRun const none = kes(small(out, {"--strips", "0"}));
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.err, "kes: error: the number of strips must be from 1 to 50\n");
  KesRun const outside = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN, "--strips", "40"});
  EXPECT_EQ(outside.code, 1);
  EXPECT_THAT(outside.err, testing::StartsWith("kes: error: strip \"Line1\" leaves the elevation model "));
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

// The numbers of a list in the truth, each on a line of its own.
std::string listOf(std::string const& truth, std::string const& name, std::size_t count) {
  std::size_t const begin = truth.find('[', truth.find("\"" + name + "\""));
  std::string list = truth.substr(begin, truth.find(']', begin) + 1 - begin);
  list.erase(std::remove_if(list.begin(), list.end(), [](char c) { return c == ' ' || c == '\n'; }), list.end());
  EXPECT_EQ(static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1, count) << name;
  return list;
}

TEST(KesSimulate, ErrorsAreRecordedAndWrittenAsTheTruth) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run =
      kes(small(out, {"--boresight", "-0.001,0.002,0.003", "--lever-arm", "0.5,0.25,-0.125", "--focal-length", "2e-05",
                      "--principal-point", "1e-05,-2e-05", "--line-shape", "0,0,0,1e-06,0", "--time-offset", "-0.002",
                      "--gnss-shift", "1,2,3", "--gnss-drift", "sigma=0.01", "--navigation", "tactical"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("true orientation:  " + out + "/truth/flight.eop\ntruth:             " + out +
                                 "/truth.json\n"));
  std::string const truth = test::contents(out + "/truth.json");
  EXPECT_EQ(listOf(truth, "boresight", 3), "[-0.001,0.002,0.003]");
  EXPECT_EQ(listOf(truth, "leverArm", 3), "[0.5,0.25,-0.125]");
  EXPECT_THAT(truth, HasSubstr("\"focalLength\": 2e-05"));
  EXPECT_EQ(listOf(truth, "principalPoint", 2), "[1e-05,-2e-05]");
  EXPECT_EQ(listOf(truth, "correction", 5), "[0,0,0,1e-06,0]");
  EXPECT_THAT(truth, HasSubstr("\"timeOffset\": -0.002"));
  EXPECT_EQ(listOf(truth, "gnssShift", 3), "[1,2,3]");
  EXPECT_NE(listOf(truth, "gnssDrift", 3), "[0,0,0]");
  EXPECT_THAT(truth, HasSubstr("\"navigation\": \"tactical\""));
  for (char const* strip : {"/strip.stp", "/truth/strip.stp"}) {
    EXPECT_EQ(kes({"check", out + strip, "--calibrations", out + "/calibration"}).out, "valid\n") << strip;
  }
}

TEST(KesSimulate, BlocksHaveControlCheckAndTiePoints) {
  test::TempFolder const folder;
  std::string const out = folder / "block";
  KesRun const run = kes(smallBlock(out, {"--control", "3", "--check", "2", "--survey-sigma", "0.05", "--wrong-control",
                                          "2", "--ties", "2", "--blunders", "30", "--length", "700"}));
  EXPECT_EQ(run.code, 2) << "lines and length";
  std::vector<std::string> arguments{"simulate",        out,    "--dem",          KESSENSOR_TERRAIN,
                                     "--length",        "1000", "--samples",      "600",
                                     "--height",        "1000", "--strips",       "2",
                                     "--control",       "3",    "--check",        "2",
                                     "--ties",          "2",    "--survey-sigma", "0.05",
                                     "--wrong-control", "2",    "--blunders",     "30"};
  KesRun const proof = kes(arguments);
  ASSERT_EQ(proof.code, 0) << proof.err;
  EXPECT_THAT(proof.out, HasSubstr("truth:          " + out + "/truth.json\n"));
  std::string const list = test::contents(out + "/control/controls.gpt");
  EXPECT_THAT(list, testing::MatchesRegex("\"GCP001\" [^\n]*  0\\.0500000000  1\n\"GCP002\" [^\n]*\n\"GCP003\" [^\n]*\n"
                                          "\"CHK001\" [^\n]*  0\\.0500000000  2\n\"CHK002\" [^\n]*\n"));
  std::string const truth = test::contents(out + "/truth.json");
  EXPECT_THAT(truth, HasSubstr("\"wrong\": true"));
  EXPECT_THAT(truth, HasSubstr("\"shift\""));
  EXPECT_THAT(test::contents(out + "/Line1/Line1_PANN00A.ipt"), HasSubstr("\"T000001\" "));
  EXPECT_THAT(test::contents(out + "/Line1/Line1_REDF16A.ipt"), testing::Not(HasSubstr("\"T0")));
  // 1000 m from 1000 m up: 1000 / (6.5e-6 * 1000 / 0.0627) = 9646.2 lines.
  EXPECT_EQ(std::filesystem::file_size(out + "/Line1/timing/PANN00A.ctg"), 9647 * sizeof(double));
}

TEST(KesSimulate, WrongErrorsAreNamed) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  std::string const hint = "\nRun with --help for more information.\n";
  auto const message = [&](std::vector<std::string> const& options) {
    KesRun const run = kes(small(out, options));
    EXPECT_EQ(run.code, 2);
    return run.err;
  };
  EXPECT_EQ(message({"--boresight", "1e-4"}), "the boresight needs 3 values, not 1" + hint);
  EXPECT_EQ(message({"--strips", "2", "--cross", "1", "--time-offset", "0.01,0.02"}),
            "the time offset needs 1 or 3 values, not 2" + hint);
  EXPECT_EQ(message({"--focal-length", "1 mm"}),
            "1 mm is no size of an error: it needs numbers, or sigma= and numbers, with commas between them" + hint);
  EXPECT_THAT(message({"--navigation", "magic"}),
              testing::StartsWith("Unknown class of navigation systems: magic (known: "));
  KesRun const files = kes(small(out, {"--odf", "--navigation", "mems"}));
  EXPECT_EQ(files.code, 1);
  EXPECT_EQ(files.err, "kes: error: errors to recover can't be written as orientation files of bands\n");
  for (char const* option : {"--control", "--check", "--ties", "--blunders", "--survey-sigma", "--wrong-control"}) {
    EXPECT_EQ(kes(small(out, {option, "1"})).code, 2) << option << " without strips";
  }
  for (char const* option : {"--control", "--check", "--ties"}) {
    EXPECT_EQ(kes(small(out, {"--strips", "1", "--points", "5", option, "1"})).code, 2) << option << " and points";
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

}  // namespace
