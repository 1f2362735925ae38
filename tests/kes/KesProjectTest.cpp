// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <cmath>
#include <sstream>

namespace {

using test::kes;
using test::KesRun;
using test::onStripA;

std::vector<std::vector<std::string>> rowsOf(std::string const& csv) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, ',');) {
      rows.back().push_back(field);
    }
  }
  return rows;
}

KesRun project(std::vector<std::string> const& options, std::string const& input) {
  return kes(onStripA({"project"}, options), input);
}

// The expected positions of a band's projection table, as the tool's input and output.
TEST(KesProject, ToTheGroundGivesTheExpectedPositions) {
  test::Table const table(test::stripA::expected().at("strips")[0].at("bands")[0].at("imageToLsr"));
  std::ostringstream input;
  input.precision(17);
  input << "name,sample,line,height\n";
  for (std::size_t row = 0; row < table.size(); ++row) {
    input << "p" << row << ',' << table.number(row, "sample") << ',' << table.number(row, "line") << ','
          << table.number(row, "height") << '\n';
  }
  KesRun const run = project({"--band", "PANF27A", "--to", "ground"}, input.str());
  ASSERT_EQ(run.code, 0) << run.err;
  auto const rows = rowsOf(run.out);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"name", "sample", "line", "height", "x", "y", "z"}));
  ASSERT_EQ(rows.size(), table.size() + 1);
  for (std::size_t row = 0; row < table.size(); ++row) {
    EXPECT_EQ(rows[row + 1][0], "p" + std::to_string(row));
    EXPECT_NEAR(std::stod(rows[row + 1][4]), table.number(row, "x"), 1e-3);
    EXPECT_NEAR(std::stod(rows[row + 1][5]), table.number(row, "y"), 1e-3);
    EXPECT_EQ(std::stod(rows[row + 1][6]), table.number(row, "z"));
  }
}

TEST(KesProject, ThereAndBackIsVerified) {
  std::string const input = "sample,line,height\n10,20,30\n6000.5,100.25,18\n11999,190,-5\n";
  KesRun const ground = project({"--band", "PANB14A", "--to", "ground", "--verify"}, input);
  ASSERT_EQ(ground.code, 0) << ground.err;
  KesRun const back = project({"--band", "PANB14A", "--to", "image", "--verify"}, ground.out);
  ASSERT_EQ(back.code, 0) << back.err;
  auto const rows = rowsOf(back.out);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"sample", "line", "height", "x", "y", "z", "closure", "status"}));
  double const expected[3][2] = {{10, 20}, {6000.5, 100.25}, {11999, 190}};
  for (int i = 0; i < 3; ++i) {
    auto const& row = rows[static_cast<std::size_t>(i) + 1];
    EXPECT_NEAR(std::stod(row[0]), expected[i][0], 0.1);
    EXPECT_NEAR(std::stod(row[1]), expected[i][1], 0.1);
    EXPECT_LT(std::stod(row[6]), 0.06 * 0.3);
    EXPECT_EQ(row[7], "ok");
  }
}

TEST(KesProject, PositionsOffTheImageAreOutsideOrUnsolved) {
  KesRun const run =
      project({"--band", "PANN00A", "--to", "ground", "--verify"}, "sample,line,height\n-5000,50,18\n100,5000,18\n");
  ASSERT_EQ(run.code, 0) << run.err;
  auto const rows = rowsOf(run.out);
  EXPECT_EQ(rows[1].back(), "outside");
  EXPECT_EQ(rows[2].back(), "outside");
  KesRun const high = project({"--band", "PANN00A", "--to", "image", "--verify"}, "x,y,z\n1e9,1e9,9000\n");
  EXPECT_EQ(rowsOf(high.out)[1].back(), "unsolved");
}

TEST(KesProject, RunOfPointsAgreesWithSinglePoints) {
  std::string input = "sample,line,height\n";
  for (int i = 0; i < 100; ++i) {
    input += std::to_string(i * 100) + "," + std::to_string(i) + ",18\n";
  }
  std::string const ground = project({"--band", "PANF27A", "--to", "ground"}, input).out;
  auto const point = rowsOf(project({"--band", "PANF27A", "--to", "image"}, ground).out);
  auto const run = rowsOf(project({"--band", "PANF27A", "--to", "image", "--solver", "run"}, ground).out);
  ASSERT_EQ(point.size(), 101U);
  ASSERT_EQ(run.size(), 101U);
  for (std::size_t i = 1; i < run.size(); ++i) {
    EXPECT_NEAR(std::stod(run[i][0]), std::stod(point[i][0]), 0.1);
    EXPECT_NEAR(std::stod(run[i][1]), std::stod(point[i][1]), 0.1);
  }
}

TEST(KesProject, OrientationAndTdiAreChosen) {
  std::string const input = "sample,line,height\n100,50,18\n";
  std::string const adjusted = project({"--band", "PANF27A", "--to", "ground"}, input).out;
  EXPECT_NE(adjusted, project({"--band", "PANF27A", "--to", "ground", "--orientation", "original"}, input).out);
  EXPECT_NE(adjusted, project({"--band", "PANF27A", "--to", "ground", "--tdi", "4"}, input).out);
  EXPECT_EQ(adjusted, project({"--band", "PANF27A", "--to", "ground", "--tdi", "1"}, input).out);
}

TEST(KesProject, PointsMayStandInAFile) {
  test::TempFolder const folder;
  std::string const input = "sample,line,height\n100,50,18\n";
  std::string const file = folder.file("points.csv", input);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", file}, "").out,
            project({"--band", "PANF27A", "--to", "ground"}, input).out);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", folder / "none.csv"}, "").err,
            "kes: error: can't open " + (folder / "none.csv") + "\n");
}

TEST(KesProject, BadInputIsToldWithItsPlace) {
  auto const error = [](std::string const& input, char const* band = "PANF27A") {
    KesRun const run = project({"--band", band, "--to", "ground"}, input);
    EXPECT_EQ(run.code, 1);
    return run.err;
  };
  EXPECT_EQ(error(""), "kes: error: standard input: no header line\n");
  EXPECT_EQ(error("sample,line\n"), "kes: error: standard input:1: no column \"height\"\n");
  EXPECT_EQ(error("sample,line,height\n1,2,3\n1,two,3\n"),
            "kes: error: standard input:3: \"two\" in column \"line\" is not a number\n");
  EXPECT_THAT(error("sample,line,height\n", "XXX"), testing::StartsWith("kes: error: no band \"XXX\" in the strip, "
                                                                        "which has PANF27A, "));
}

TEST(KesProject, WrongUsageGivesTwo) {
  EXPECT_EQ(project({"--band", "PANF27A"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "space"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "image", "--tdi", "2"}, "x,y,z\n").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", "--tdi", "2", "--verify"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", "--frame", "moon"}, "").code, 2);
}

}  // namespace
