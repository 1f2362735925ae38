// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

// `kes adjust`, on a small simulated block.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

std::string contentOf(std::string const& file) {
  std::stringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

class KesAdjust : public testing::Test {
protected:
  static void SetUpTestSuite() {
    sFolder = new test::TempFolder;
    KesRun const run = kes({"simulate", *sFolder / "block", "--dem", KESSENSOR_TERRAIN, "--strips", "2", "--lines",
                            "3000", "--samples", "300", "--points", "8"});
    ASSERT_EQ(run.code, 0) << run.err;
  }
  static void TearDownTestSuite() { delete sFolder; }

  static std::string block() { return *sFolder / "block/block.blf"; }
  static std::string strip() { return *sFolder / "block/Line1/strip.stp"; }
  static KesRun adjust(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"adjust", block()});
    return kes(arguments);
  }

  test::TempFolder mFolder;
  static test::TempFolder* sFolder;
};

test::TempFolder* KesAdjust::sFolder = nullptr;

TEST_F(KesAdjust, PlansWithoutChangingTheBlock) {
  std::string const before = contentOf(strip());
  KesRun const run = adjust({"--dry-run", "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const plan = json::parse(run.out);
  EXPECT_TRUE(plan["planned"].get<bool>());
  EXPECT_GT(plan["imagePoints"].size(), 100U);
  EXPECT_TRUE(plan["orientations"].empty());
  EXPECT_EQ(contentOf(strip()), before);
}

TEST_F(KesAdjust, ReportsWithoutChangingTheBlock) {
  std::string const before = contentOf(strip());
  KesRun const run = adjust({"--report-only", "-o", mFolder / "out"});
  EXPECT_THAT(run.out, HasSubstr("sigma0:"));
  EXPECT_TRUE(fs::exists(mFolder / "out/adjustment.json"));
  EXPECT_TRUE(fs::exists(mFolder / "out/residuals.gpkg"));
  EXPECT_TRUE(fs::exists(mFolder / "out/orientation/Line1.eop"));
  EXPECT_FALSE(fs::exists(mFolder / "out/replaced"));
  EXPECT_EQ(contentOf(strip()), before);
}

TEST_F(KesAdjust, RefusesWhatItCantDo) {
  EXPECT_EQ(adjust({"--dry-run", "--control", "X9"}).err, "kes: error: no ground point has the id X9\n");
  EXPECT_EQ(adjust({"--dry-run", "--control", "P001", "--check", "P001"}).err,
            "kes: error: P001 is a control and a check point\n");
  std::string const ties = mFolder.file("other.ipt", "\"T1\" 1 2 0.3 0.3 1\n");
  EXPECT_EQ(adjust({"--dry-run", "--ties", ties}).err,
            "kes: error: " + ties + " isn't named after an image of the block\n");
  std::string const full = mFolder.folder("full");
  mFolder.file("full/notes.txt", "mine");
  KesRun const run = adjust({"-o", full});
  EXPECT_EQ(run.err, "kes: error: " + full + " exists and is not an empty folder\n");
  EXPECT_EQ(run.code, 1);
}

TEST_F(KesAdjust, WrongArgumentsAreWrongUsage) {
  std::string const hint = "\nRun with --help for more information.\n";
  KesRun const unknown = adjust({"--dry-run", "--free", "roll"});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_EQ(unknown.err,
            "--free: there is no parameter \"roll\"; there are boresight, lever-arm, focal, offset, rotation, bend, "
            "scale, time, shift" +
                hint);
  KesRun const negative = adjust({"--dry-run", "--free", "boresight=-1"});
  EXPECT_EQ(negative.code, 2);
  EXPECT_EQ(negative.err, "--free: \"boresight=-1\" has no positive standard deviation" + hint);
  EXPECT_EQ(adjust({}).code, 2);
  EXPECT_EQ(adjust({"--dry-run", "--prior", "cheap"}).code, 2);
  EXPECT_EQ(adjust({"--dry-run", "--dem-sigma", "1"}).code, 2);
}

// It is empty as the images aren't rendered.
TEST_F(KesAdjust, ResultsDontReplaceAFolderOfTheBlock) {
  for (char const* name : {"block/Line1/images", "block/Line2/raw"}) {
    std::string const folder = *sFolder / name;
    fs::remove(folder + "/readme.txt");
    KesRun const run = adjust({"--report-only", "-o", folder});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "kes: error: can't write " + folder + ": it is read, too\n");
    EXPECT_TRUE(fs::is_empty(folder));
  }
}

}  // namespace
