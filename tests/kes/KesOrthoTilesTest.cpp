// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "gdal/MosaicSupport.h"
#include "support/Matchers.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// The commands `ortho plan`, `ortho tile` and `ortho finish`.

namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using test::kesBesidesDatum;
using test::KesRun;
using Arguments = std::vector<std::string>;

class KesOrthoTiles : public testing::Test {
protected:
  KesOrthoTiles() { mFlight.writePositions(); }

  // Pixels of 15 cm make a tile of each of six boxes.
  Arguments withOptions(Arguments const& before, std::string const& output, Arguments const& more) const {
    Arguments arguments = before;
    Arguments const options{mFlight.folder / "strip.stp",
                            "--calibrations",
                            mFlight.folder / "calibration",
                            "--band",
                            "PANN00A",
                            "--dem",
                            mFlight.terrain->fileName(),
                            "--crs",
                            "EPSG:32617",
                            "--gsd",
                            "0.15",
                            "--resampling",
                            "nearest",
                            "--orientation",
                            "original",
                            "-o",
                            output};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  KesRun plan(Arguments const& more = {"--tile", "1024"}) const {
    return kesBesidesDatum(withOptions({"ortho", "plan"}, mPlan, more));
  }
  KesRun tile(Arguments const& more) const {
    Arguments arguments{"ortho", "tile", mPlan};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return test::kes(arguments);
  }
  KesRun finish(Arguments const& more = {}) const {
    Arguments arguments{"ortho", "finish", mPlan, "-o", mOutput};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return test::kes(arguments);
  }
  std::string whole() const {
    std::string const output = mFlight.folder / "whole.tif";
    KesRun const run = kesBesidesDatum(withOptions({"ortho"}, output, {}));
    EXPECT_EQ(run.code, 0) << run.err;
    return test::contents(output);
  }
  std::string tileFile(int index) const {
    return mFlight.folder / ("plan.tiles/tile-" + std::to_string(index) + ".tif");
  }

  test::OrthoFlight mFlight{0.4};
  std::string mPlan = mFlight.folder / "plan.json";
  std::string mOutput = mFlight.folder / "finished.tif";
};

TEST_F(KesOrthoTiles, MakeTheFileOfOneProcess) {
  KesRun const planned = plan({"--tile", "1024", "--json"});
  ASSERT_EQ(planned.code, 0) << planned.err;
  json const what = json::parse(planned.out);
  int const count = what.at("tiles");
  ASSERT_GE(count, 4);
  EXPECT_EQ(what.at("plan"), mPlan);
  EXPECT_EQ(what.at("tileSide"), 1024);
  EXPECT_EQ(what.at("bands"), 1);
  EXPECT_EQ(what.at("strips"), 1);
  std::string const last = std::to_string(count - 1);
  KesRun const first = tile({"--json", last, "1-2"});
  ASSERT_EQ(first.code, 0) << first.err;
  json const made = json::parse(first.out).at("tiles");
  EXPECT_EQ(made.size(), 3U);
  EXPECT_EQ(made[0].at("index"), count - 1);
  EXPECT_EQ(made[0].at("made"), true);
  EXPECT_EQ(made[2].at("file"), tileFile(2));
  EXPECT_EQ(made[2].at("bytes"), fs::file_size(tileFile(2)));
  for (std::string const part : {"1/2", "2/2"}) {
    KesRun const rest = tile({"--part", part, "--threads", "2"});
    EXPECT_EQ(rest.code, 0) << rest.err;
  }
  KesRun const again = tile({"0-" + last});
  EXPECT_EQ(again.out.find("made"), std::string::npos) << again.out;
  EXPECT_TRUE(again.out.starts_with("tile 0: is there, ")) << again.out;
  KesRun const finished = finish({"--json"});
  ASSERT_EQ(finished.code, 0) << finished.err;
  EXPECT_EQ(json::parse(finished.out),
            (json{{"file", mOutput}, {"bytes", fs::file_size(mOutput)}, {"tiles", count}, {"tilesKept", false}}));
  EXPECT_TRUE(test::contents(mOutput) == whole());
  EXPECT_FALSE(fs::exists(mFlight.folder / "plan.tiles"));
  EXPECT_TRUE(fs::exists(mPlan));
}

TEST_F(KesOrthoTiles, TilesAreKeptOnRequest) {
  ASSERT_EQ(plan({}).code, 0);
  ASSERT_EQ(tile({"0"}).code, 0);
  ASSERT_EQ(finish({"--keep-tiles"}).code, 0);
  EXPECT_TRUE(fs::exists(tileFile(0)));
  EXPECT_EQ(finish().out, "");
  EXPECT_FALSE(fs::exists(tileFile(0)));
}

TEST_F(KesOrthoTiles, MemoryDecidesTheSide) {
  KesRun const wide = plan({"--threads", "1", "--json"});
  KesRun const narrow = plan({"--threads", "1", "--json", "--memory", "230"});
  ASSERT_EQ(narrow.code, 0) << narrow.err;
  EXPECT_EQ(json::parse(wide.out).at("tileSide"), 4096);
  EXPECT_LE(json::parse(narrow.out).at("memory"), 230 << 20);
  KesRun const none = plan({"--threads", "1", "--memory", "20"});
  EXPECT_EQ(none.code, 1);
  EXPECT_THAT(none.err,
              testing::MatchesRegex("kes: error: a tile's work can't be kept within 20 MiB: with 1 threads? it "
                                    "takes [0-9]+ MiB at the least\n"));
}

TEST_F(KesOrthoTiles, UsageIsChecked) {
  std::string const help = "\nRun with --help for more information.\n";
  EXPECT_EQ(tile({}).err, "INDEX or --part is required" + help);
  EXPECT_EQ(tile({}).code, 2);
  EXPECT_EQ(tile({"0", "--part", "1/2"}).code, 2);
  EXPECT_EQ(tile({"--part", "3/2"}).err, "--part: \"3/2\" isn't I/N with I from 1 to N" + help);
  EXPECT_EQ(test::kes({"ortho", "plan"}).err, "STRIP is required" + help);
  EXPECT_EQ(test::kes({"ortho", "finish"}).err, "PLAN is required" + help);
  EXPECT_EQ(test::kes({"ortho"}).err, "STRIP is required" + help);
  EXPECT_EQ(tile({"0"}).err, "kes: error: can't read " + mPlan + ": No such file or directory\n");
}

TEST_F(KesOrthoTiles, WrongNamesAndIndicesAreRefused) {
  KesRun const named = kesBesidesDatum(withOptions({"ortho", "plan"}, mFlight.folder / "plan.txt", {}));
  EXPECT_EQ(named.err, "kes: error: " + (mFlight.folder / "plan.txt") + " doesn't end in .json\n");
  ASSERT_EQ(plan({}).code, 0);
  EXPECT_EQ(tile({"1"}).err, "kes: error: there is no tile 1: the plan has 1, counted from 0\n");
  EXPECT_EQ(tile({"0-99999999999999"}).err, "kes: error: there is no tile 1: the plan has 1, counted from 0\n");
  EXPECT_EQ(tile({"2-1"}).err, "kes: error: \"2-1\" ends before it begins\n");
  for (std::string const text : {"x", "1-", "1-x", "1-2-3", ""}) {
    EXPECT_EQ(tile({text}).err,
              "kes: error: \"" + text + "\" is neither the index of a tile nor a range such as 0-9\n");
  }
  EXPECT_EQ(finish().err, "kes: error: 1 of 1 tiles are missing: 0\n");
  EXPECT_FALSE(fs::exists(mOutput));
}

TEST_F(KesOrthoTiles, StripsNamedAsCommandsAreReachedByTheirPath) {
  fs::path const before = fs::current_path();
  fs::current_path(mFlight.folder.path());
  fs::copy_file("strip.stp", "plan");
  Arguments arguments = withOptions({"ortho"}, mOutput, {});
  arguments[1] = "./plan";
  EXPECT_EQ(kesBesidesDatum(arguments).err, "");
  arguments[1] = "plan";
  EXPECT_EQ(kesBesidesDatum(arguments).code, 2);
  fs::current_path(before);
}

// Killed at any time, a run leaves whole tiles alone; the next one goes on.
TEST_F(KesOrthoTiles, KilledRunsLeaveNothingHalfMade) {
  ASSERT_EQ(plan().code, 0);
  for (int run = 0; run < 8; ++run) {
    pid_t process = 0;
    std::string const program = KES_PROGRAM;
    std::vector<std::string> texts{program, "ortho", "tile", mPlan, "--part", "1/1"};
    std::vector<char*> arguments;
    for (std::string& text : texts) {
      arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    ASSERT_EQ(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments.data(), environ), 0);
    usleep(static_cast<useconds_t>(150000 * (run + 1)));
    kill(process, run % 2 == 0 ? SIGKILL : SIGTERM);
    int status = 0;
    waitpid(process, &status, 0);
  }
  KesRun const rest = tile({"--part", "1/1"});
  ASSERT_EQ(rest.code, 0) << rest.err;
  ASSERT_EQ(finish().code, 0);
  EXPECT_TRUE(test::contents(mOutput) == whole());
  for (auto const& entry : fs::recursive_directory_iterator(mFlight.folder.path())) {
    EXPECT_EQ(entry.path().string().find(".kes-"), std::string::npos) << entry.path();
  }
}

}  // namespace
