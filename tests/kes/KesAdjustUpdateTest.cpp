// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustedBlock.h"

#include <geo/XYPoint.h>

#include <algorithm>
#include <regex>
#include <sstream>

// What `kes adjust` changes in a block, and when it changes nothing.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::KesRun;
using testing::HasSubstr;

class KesAdjustUpdate : public test::AdjustedBlock {
protected:
  /// Every list of image points, line by line.
  template <class Change>
  void changeImagePoints(Change const& change) const {
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(folder())) {
      if (entry.path().extension() == ".ipt") {
        std::istringstream lines(test::contents(entry.path().string()));
        std::string text;
        for (std::string line; std::getline(lines, line);) {
          text += change(line, entry.path().filename().string()) + "\n";
        }
        write(entry.path().string(), text);
      }
    }
  }
  /// Measurements of the nadir lines to one side and all others to the other side, in turn from point to point.
  void moveImagePoints(geo::XYPoint const& step) const {
    changeImagePoints([&](std::string const& line, std::string const& file) {
      std::istringstream fields(line);
      std::string id;
      std::string rest;
      geo::XYPoint position;
      fields >> id >> position.x >> position.y;
      std::getline(fields, rest);
      bool const isOdd = id[id.size() - 2] % 2 != 0;
      bool const isNadir = file.find("PANN") != std::string::npos;
      double const side = isOdd == isNadir ? 1.0 : -1.0;
      return id + " " + std::to_string(position.x + side * step.x) + " " + std::to_string(position.y + side * step.y) +
             rest;
    });
  }
  void expectObjection(std::string const& objection, std::vector<std::string> const& more = {}) const {
    std::string const before = test::contents(strip("Line1"));
    KesRun const run = adjust(more);
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, testing::ContainsRegex("kes: error: the result must not be used: " + objection + "\n"));
    EXPECT_EQ(test::contents(strip("Line1")), before);
    EXPECT_FALSE(fs::exists(folder() + "/Line1/flight.eop.adj"));
    EXPECT_FALSE(fs::exists(out() + "/replaced"));
    json const result = report();
    EXPECT_FALSE(result["usable"].get<bool>());
    EXPECT_TRUE(result["orientations"].empty());
  }
  /// A coordinate of all ground points of a kind.
  void moveGroundPoints(std::string const& kind, int coordinate, double step) const {
    std::istringstream lines(test::contents(groundPoints()));
    std::ostringstream changed;
    changed.precision(12);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream fields(line);
      std::string field;
      for (int i = 0; fields >> field; ++i) {
        if (i == coordinate && line.find(kind) != std::string::npos) {
          changed << std::stod(field) + step << ' ';
        } else {
          changed << field << ' ';
        }
      }
      changed << '\n';
    }
    write(groundPoints(), changed.str());
  }
};

TEST_F(KesAdjustUpdate, ChecksThatDepartAreAnObjection) {
  moveGroundPoints("CHK", 1, 2.0);
  expectObjection("check points depart by [0-9.]+ times their standard deviations \\(root mean square\\)");
}

TEST_F(KesAdjustUpdate, TooManyRejectedImagePointsAreAnObjection) {
  moveImagePoints({20.0, 20.0});
  expectObjection("[0-9]+ of [0-9]+ image points were rejected");
}

TEST_F(KesAdjustUpdate, HeightsOfAnotherDatumAreAnObjection) {
  moveGroundPoints("GCP", 3, 30.0);
  moveGroundPoints("CHK", 3, 30.0);
  expectObjection(".*heights.*");
}

TEST_F(KesAdjustUpdate, TooFewObservationsAreAnObjection) {
  fs::remove(groundPoints());
  write(groundPoints(), "");
  changeImagePoints([](auto const&...) { return std::string(); });
  write(folder() + "/Line1/Line1_PANN00A.ipt", "\"T\" 200 3000 0.3 0.3 1\n");
  expectObjection("there are no more observations than unknowns");
}

TEST_F(KesAdjustUpdate, StripsOpenWhereverTheirOrientationLies) {
  fs::create_directories(folder() + "/navigation");
  fs::rename(folder() + "/Line1/flight.eop", folder() + "/navigation/first.eop");
  replaceIn(strip("Line1"), "\"flight.eop\"", "\"../navigation/first.eop\"");
  fs::rename(folder() + "/Line2/flight.eop", folder() + "/navigation/second.eop");
  replaceIn(strip("Line2"), "\"flight.eop\"", "\"" + folder() + "/navigation/second.eop\"");
  ASSERT_EQ(adjust().code, 0);
  std::string const files[] = {"/Cross1/flight.eop.adj", "/Line1/first.eop.adj", "/Line2/second.eop.adj"};
  json const orientations = report()["orientations"];
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(orientations[i]["file"], folder() + files[i]);
    KesRun const info = test::kes({"info", fs::path(folder() + files[i]).parent_path().string() + "/strip.stp",
                                   "--calibrations", folder() + "/calibration", "--json"});
    ASSERT_EQ(info.code, 0) << info.err;
    EXPECT_THAT(info.out, HasSubstr(fs::path(files[i]).filename().string()));
  }
  // Once more, and with the new one elsewhere.
  fs::rename(folder() + files[1], folder() + "/navigation/other.eop");
  replaceIn(strip("Line1"), "\"first.eop.adj\"", "\"../navigation/other.eop\"");
  fs::rename(out(), mFolder / "first");
  std::string const before = test::contents(folder() + "/navigation/other.eop");
  replaceIn(groundPoints(), "GCP001", "GCP009");
  ASSERT_EQ(adjust().code, 0);
  EXPECT_NE(test::contents(folder() + "/navigation/other.eop"), before);
  EXPECT_EQ(test::contents(folder() + "/navigation/other.eop.bak"), before);
  EXPECT_THAT(test::contents(strip("Line1")), HasSubstr("\"../navigation/other.eop\""));
}

TEST_F(KesAdjustUpdate, FilesHaveSafeNames) {
  replaceIn(strip("Line1"), "name=\"Line1\"", "name=\"..\"");
  replaceIn(strip("Line2"), "name=\"Line2\"", "name=\"a/b\"");
  replaceIn(strip("Cross1"), "name=\"Cross1\"", "name=\"a_b\"");
  ASSERT_EQ(adjust({"--report-only"}).code, 0);
  std::vector<std::string> names;
  for (fs::directory_entry const& entry : fs::directory_iterator(out() + "/orientation")) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_THAT(names, testing::UnorderedElementsAre("strip1.eop", "a_b.eop", "a_b_3.eop"));
}

TEST_F(KesAdjustUpdate, EntersANewVersionOfTheCamera) {
  KesRun const run = adjust({"--free", "boresight,focal=5e-5"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const camera = report()["cameras"][0];
  EXPECT_EQ(camera["version"], "v004");
  EXPECT_TRUE(fs::exists(camera["folder"].get<std::string>() + "/PANF27A.cam"));
  EXPECT_THAT(run.out, HasSubstr("adjusted camera: " + camera["folder"].get<std::string>() + "\n"));
  for (char const* name : {"Line1", "Line2", "Cross1"}) {
    EXPECT_THAT(test::contents(strip(name)), HasSubstr("version=\"v004\""));
  }
  EXPECT_EQ(test::kes({"check", block()}).code, 0);
  // The next one starts from there.
  fs::rename(out(), mFolder / "first");
  ASSERT_EQ(adjust({"--free", "boresight,focal=5e-5"}).code, 0);
  EXPECT_EQ(report()["cameras"][0]["version"], "v005");
}

TEST_F(KesAdjustUpdate, ReportOnlyLeavesTheCamera) {
  ASSERT_EQ(adjust({"--free", "boresight,focal=5e-5", "--report-only"}).code, 0);
  EXPECT_TRUE(report()["cameras"].empty());
  EXPECT_THAT(test::contents(strip("Line1")), HasSubstr("version=\"v003\""));
  fs::path const written = fs::directory_iterator(out() + "/calibration")->path();
  EXPECT_TRUE(fs::exists(written / "v004/PANF27A.cam"));
  EXPECT_FALSE(fs::exists(folder() + "/calibration/" + written.filename().string() + "/v004"));
}

TEST_F(KesAdjustUpdate, InterruptedOneIsNoticedAndUndone) {
  std::string const journal = block() + ".adjusting";
  write(journal, "{\"file\": \"");
  KesRun const check = test::kes({"check", block()});
  EXPECT_EQ(check.code, 1);
  EXPECT_THAT(check.out, HasSubstr("error: " + block() +
                                   ": an adjustment was interrupted while it changed the strips; the next one undoes "
                                   "that\n"));
  KesRun const plan = test::kes({"adjust", block(), "--dry-run"});
  EXPECT_EQ(plan.code, 0);
  EXPECT_EQ(plan.err, "kes: warning: an adjustment of " + block() +
                          " was interrupted; its strips and cameras are again what they were before\n");
  EXPECT_FALSE(fs::exists(journal));
}

// The strip's folder can't take the adjusted orientation of the second strip.
TEST_F(KesAdjustUpdate, ReportListsNothingWhenNothingChanged) {
  fs::create_directory(folder() + "/Line1/flight.eop.adj");
  fs::create_directory(folder() + "/Line1/flight.eop.adj.bak");
  KesRun const run = adjust();
  EXPECT_EQ(run.code, 1);
  EXPECT_TRUE(report()["orientations"].empty());
  EXPECT_FALSE(fs::exists(folder() + "/Cross1/flight.eop.adj"));
  EXPECT_FALSE(fs::exists(block() + ".adjusting"));
}

}  // namespace
