// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <cmath>
#include <set>
#include <sstream>

namespace {

using test::kes;
using test::KesRun;
using test::onStripA;
using Fields = std::vector<std::string>;

// Of a table of plain fields.
std::vector<Fields> rowsOf(std::string const& csv) {
  std::vector<Fields> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream fields(line + ",");
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
  EXPECT_EQ(rows[0], (Fields{"sample", "line", "height", "x", "y", "z", "closure", "closurePixels", "status"}));
  double const expected[3][2] = {{10, 20}, {6000.5, 100.25}, {11999, 190}};
  for (std::size_t i = 0; i < 3; ++i) {
    auto const& row = rows[i + 1];
    EXPECT_NEAR(std::stod(row[0]), expected[i][0], 1e-6);
    EXPECT_NEAR(std::stod(row[1]), expected[i][1], 1e-6);
    // A pixel is 0.3 m.
    EXPECT_LT(std::stod(row[6]), 1e-6 * 0.3);
    EXPECT_LT(std::stod(row[7]), 1e-6);
    EXPECT_EQ(row[8], "ok");
  }
}

TEST(KesProject, FormsOfTheLibraryAgreeWithThePreciseSolverWithinTheirTolerance) {
  std::string input = "sample,line,height\n";
  for (int i = 0; i < 101; ++i) {
    input += std::to_string(i * 100) + "," + std::to_string(i) + ",18\n";
  }
  std::string const ground = project({"--band", "PANF27A", "--to", "ground"}, input).out;
  auto const precise = rowsOf(project({"--band", "PANF27A", "--to", "image"}, ground).out);
  ASSERT_EQ(precise.size(), 102U);
  std::set<std::string> outputs;
  for (std::string const solver : {"precise", "point", "run", "vector"}) {
    KesRun const run = project({"--band", "PANF27A", "--to", "image", "--solver", solver, "--status"}, ground);
    ASSERT_EQ(run.code, 0) << run.err;
    outputs.insert(run.out);
    auto const rows = rowsOf(run.out);
    ASSERT_EQ(rows.size(), 102U);
    double const tolerance = solver == "precise" ? 0.0 : 0.1;
    for (std::size_t i = 1; i < rows.size(); ++i) {
      EXPECT_NEAR(std::stod(rows[i][0]), std::stod(precise[i][0]), tolerance);
      EXPECT_NEAR(std::stod(rows[i][1]), std::stod(precise[i][1]), tolerance);
      EXPECT_EQ(rows[i].back(), "ok");
    }
  }
  // Four solvers, not one under four names.
  EXPECT_EQ(outputs.size(), 4U);
}

// The image has 200 lines of 12000 samples; the precise solver looks 256 lines beyond.
constexpr char const* goodAndBad = "sample,line,height\n100,50,18\n-5000,50,18\n100,5000,18\n100,,18\n100,50,nan\n";

TEST(KesProject, BadPointsHaveAStatusAndDontStopTheRun) {
  KesRun const run = project({"--band", "PANN00A", "--to", "ground", "--status"}, goodAndBad);
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: 5 points: 1 ok, 1 outsideImage, 1 noSolution, 2 notFinite\n");
  auto const rows = rowsOf(run.out);
  ASSERT_EQ(rows.size(), 6U);
  auto const alone =
      rowsOf(project({"--band", "PANN00A", "--to", "ground", "--status"}, "sample,line,height\n100,50,18\n").out);
  EXPECT_EQ(rows[1], alone[1]);
  EXPECT_EQ(rows[1].back(), "ok");
  EXPECT_EQ(rows[2].back(), "outsideImage");
  EXPECT_NE(rows[2][3], "");
  EXPECT_EQ(rows[3], (Fields{"100", "5000", "18", "", "", "", "noSolution"}));
  EXPECT_EQ(rows[4], (Fields{"100", "", "18", "", "", "", "notFinite"}));
  EXPECT_EQ(rows[5], (Fields{"100", "50", "nan", "", "", "", "notFinite"}));
}

TEST(KesProject, PointsWithoutAResultCanBeProjectedOn) {
  std::string const ground = project({"--band", "PANN00A", "--to", "ground"}, goodAndBad).out;
  KesRun const run = project({"--band", "PANN00A", "--to", "image"}, ground);
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: 5 points: 1 ok, 1 outsideImage, 3 notFinite\n");
}

TEST(KesProject, PointsOfOneStatusArentCountedWhenAllAreGood) {
  KesRun const run = project({"--band", "PANN00A", "--to", "ground"}, "sample,line,height\n100,50,18\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(rowsOf(run.out)[0], (Fields{"sample", "line", "height", "x", "y", "z"}));
}

TEST(KesProject, StrictRunNamesTheFirstPointWithoutAResultAndPrintsAll) {
  std::vector<std::string> const options{"--band", "PANN00A", "--to", "ground"};
  std::vector<std::string> strict = options;
  strict.push_back("--strict");
  KesRun const run = project(strict, goodAndBad);
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: 5 points: 1 ok, 1 outsideImage, 1 noSolution, 2 notFinite\n"
                     "kes: error: standard input:4: noSolution\n");
  EXPECT_EQ(run.out, project(options, goodAndBad).out);
  // A point outside the image has a result.
  EXPECT_EQ(project(strict, "sample,line,height\n-5000,50,18\n").code, 0);
}

TEST(KesProject, RunWithoutAnyResultFails) {
  KesRun const run = project({"--band", "PANN00A", "--to", "image"}, "x,y,z\n1e9,1e9,9000\n1e9,1e9,18\n");
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::EndsWith("kes: error: no point has a result\n"));
  EXPECT_THAT(run.err, testing::StartsWith("kes: 2 points: 2 noSolution\n"));
  EXPECT_EQ(run.out, "x,y,z,sample,line\n1e9,1e9,9000,,\n1e9,1e9,18,,\n");
  EXPECT_EQ(project({"--band", "PANN00A", "--to", "image"}, "x,y,z\n").code, 0);
}

// Rows are read in blocks of 65536.
TEST(KesProject, LongTablesKeepOrderAndLineNumbers) {
  constexpr int count = 65536 + 3;
  std::string input = "id,sample,line,height\n";
  for (int i = 0; i < count; ++i) {
    input += std::to_string(i) + "," + std::to_string(i % 12000) + ",50," + (i == count - 2 ? "" : "18") + "\n";
  }
  for (std::string const solver : {"precise", "run"}) {
    KesRun const run = project({"--band", "PANN00A", "--to", "ground", "--strict", "--solver", solver}, input);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "kes: 65539 points: 65538 ok, 1 notFinite\nkes: error: standard input:65539: notFinite\n");
    auto const rows = rowsOf(run.out);
    ASSERT_EQ(rows.size(), count + 1U);
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(rows[static_cast<std::size_t>(i) + 1][0], std::to_string(i));
    }
    // The same pixel before and after the end of a block.
    Fields const first(rows[1].begin() + 1, rows[1].end());
    Fields const second(rows[60001].begin() + 1, rows[60001].end());
    EXPECT_EQ(first, second);
  }
}

TEST(KesProject, OutputDoesntDependOnTheThreads) {
  // Three blocks.
  constexpr int count = 2 * 65536 + 3;
  std::string input = "sample,line,height,\"a name\"\n";
  for (int i = 0; i < count; ++i) {
    input += std::to_string(i % 11989) + "." + std::to_string(i % 7) + "," + std::to_string(i % 191) + ",18," +
             (i % 9 == 0 ? "\"a,b\"\n" : "c\n");
  }
  auto const projected = [](std::string const& threads, std::string const& to, std::string const& solver,
                            std::string const& text) {
    return project({"--band", "PANN00A", "--to", to, "--solver", solver, "--status", "--threads", threads}, text);
  };
  for (std::string const solver : {"precise", "run"}) {
    KesRun const ground = projected("1", "ground", solver, input);
    EXPECT_EQ(ground.code, 0) << ground.err;
    EXPECT_EQ(rowsOf(ground.out).size(), count + 1U);
    EXPECT_EQ(projected("5", "ground", solver, input).out, ground.out);
    KesRun const image = projected("1", "image", solver, ground.out);
    KesRun const same = projected("5", "image", solver, ground.out);
    EXPECT_EQ(same.out, image.out);
    EXPECT_EQ(same.err, image.err);
  }
  // A fault in the second block, and another in the third.
  KesRun const alone = projected("1", "ground", "precise", input + "1,2\n");
  EXPECT_EQ(alone.code, 1);
  EXPECT_EQ(alone.err, "kes: error: standard input:131077: 2 fields under 4 columns\n");
  std::string two = input + "1,2\n";
  two.replace(two.find(",18,", two.size() / 2), 4, ",xy,");
  KesRun const first = projected("1", "ground", "precise", two);
  EXPECT_THAT(first.err, testing::EndsWith(": \"xy\" in column \"height\" is not a number\n"));
  EXPECT_EQ(rowsOf(first.out).size(), 65537U);
  KesRun const again = projected("5", "ground", "precise", two);
  EXPECT_EQ(again.err, first.err);
  EXPECT_EQ(again.out, first.out);
}

TEST(KesProject, OrientationAndTdiAreChosen) {
  std::string const input = "sample,line,height\n100,50,18\n";
  std::string const adjusted = project({"--band", "PANF27A", "--to", "ground"}, input).out;
  EXPECT_NE(adjusted, project({"--band", "PANF27A", "--to", "ground", "--orientation", "original"}, input).out);
  EXPECT_NE(adjusted, project({"--band", "PANF27A", "--to", "ground", "--tdi", "4"}, input).out);
  EXPECT_EQ(adjusted, project({"--band", "PANF27A", "--to", "ground", "--tdi", "1"}, input).out);
  for (char const* solver : {"precise", "point"}) {
    EXPECT_NE(project({"--band", "PANF27A", "--to", "ground", "--solver", solver}, input).out,
              project({"--band", "PANF27A", "--to", "ground", "--solver", solver, "--tdi", "4"}, input).out);
  }
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

TEST(KesProject, BadInputIsNamedWithItsPlace) {
  auto const error = [](std::string const& input, char const* band = "PANF27A") {
    KesRun const run = project({"--band", band, "--to", "ground"}, input);
    EXPECT_EQ(run.code, 1);
    return run.err;
  };
  EXPECT_EQ(error(""), "kes: error: standard input: no header line\n");
  EXPECT_EQ(error("sample,line\n"),
            "kes: error: standard input:1: no column \"height\"; there are \"sample\", \"line\"\n");
  EXPECT_EQ(error("sample,line,height\n1,2,3\n1,two,3\n"),
            "kes: error: standard input:3: \"two\" in column \"line\" is not a number\n");
  EXPECT_THAT(error("sample,line,height\n", "XXX"), testing::StartsWith("kes: error: strip \"Line7_cam\" has no band "
                                                                        "\"XXX\"; it has PANF27A, "));
}

// The anchor of the flight is at 15.58 degrees east and 48.09 degrees north; in UTM zone 33, at 543 km and 5327 km.
TEST(KesProject, PointsFarFromTheStripAreDoubted) {
  auto const warning = [](std::string const& crs, std::string const& point) {
    KesRun const run = project({"--band", "PANN00A", "--to", "image", "--crs", crs}, "x,y,z\n" + point + "\n");
    EXPECT_EQ(run.code, 1);
    std::string const begin = "kes: 1 point: 1 noSolution\nkes: warning: the first point ";
    std::string const end = "\nkes: error: no point has a result\n";
    EXPECT_THAT(run.err, testing::AllOf(testing::StartsWith(begin), testing::EndsWith(end)));
    return run.err.substr(begin.size(), run.err.size() - begin.size() - end.size());
  };
  EXPECT_THAT(warning("EPSG:4979", "48.09,15.58,430"),
              testing::MatchesRegex("lies 4[0-9]{3} km from the strip: are longitude and latitude swapped\\?"));
  EXPECT_THAT(warning("EPSG:4979", "0.2719,0.8393,430"),
              testing::MatchesRegex("lies [0-9]+ km from the strip: are they radians\\?"));
  EXPECT_THAT(warning("EPSG:32633", "5327000,543000,430"), testing::EndsWith(": are x and y swapped?"));
  EXPECT_THAT(warning("EPSG:32633", "1781496,17477034,1411"), testing::EndsWith(": are they feet?"));
  EXPECT_THAT(warning("EPSG:32633", "15.58,48.09,430"),
              testing::EndsWith(": are they degrees? --crs EPSG:4979 takes longitude and latitude"));
  EXPECT_THAT(warning("EPSG:32633", "48.09,15.58,430"),
              testing::EndsWith(": are they degrees, latitude first? --crs EPSG:4979 takes longitude and latitude"));
  // 500 km to the north; the Earth's curvature makes the chord shorter by less than 1 km.
  EXPECT_THAT(warning("EPSG:32633", "543000,5827000,430"),
              testing::MatchesRegex("lies (499|500|501) km from the strip"));
}

TEST(KesProject, PointsNearTheStripArentDoubted) {
  KesRun const run = project({"--band", "PANN00A", "--to", "image"}, "x,y,z\n50000,50000,18\n");
  EXPECT_EQ(run.err, "kes: 1 point: 1 noSolution\nkes: error: no point has a result\n");
}

TEST(KesProject, MissingAdjustedOrientationIsReported) {
  test::TempFolder const folder;
  std::string const strip = test::SmallStrip().write(folder);
  auto const projected = [&](std::vector<std::string> const& options) {
    std::vector<std::string> arguments{"project", strip,     "--calibrations", folder / "calibration",
                                       "--band",  "PANN00A", "--to",           "ground"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kes(arguments, "sample,line,height\n50,50,0\n");
  };
  KesRun const usual = projected({});
  EXPECT_EQ(usual.code, 0);
  EXPECT_EQ(usual.err, "kes: strip \"Small\" has no adjusted orientation: the original one is used\n");
  KesRun const adjusted = projected({"--orientation", "adjusted"});
  EXPECT_EQ(adjusted.code, 1);
  EXPECT_EQ(adjusted.err, "kes: error: strip \"Small\" has no adjusted orientation: --orientation original uses " +
                              (folder / "flight.eop") + "\n");
  KesRun const original = projected({"--orientation", "original"});
  EXPECT_EQ(original.err, "");
  EXPECT_EQ(original.out, usual.out);
}

// Straight and level to the east, 1000 m above the ground: a line is 1 m, a sample 2 m across. Per axis, the default
// standard deviations are 0.05 m and 1e-5 radians; the latter are 1 cm below the camera.
TEST(KesProject, SigmaAddsStandardDeviationsOfGroundPositions) {
  test::TempFolder const folder;
  std::string const strip = test::SmallStrip().write(folder);
  auto const projected = [&](std::string const& sigma, std::string const& heightSigma) {
    return kes({"project", strip, "--calibrations", folder / "calibration", "--orientation", "original", "--band",
                "PANN00A", "--to", "ground", "--sigma", sigma, "--height-sigma", heightSigma},
               "sample,line,height\n50,50,0\n100,50,0\n50,,0\n");
  };
  KesRun const run = projected("0.3", "0.4");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: " + (folder / "flight.eop") +
                         " has no standard deviations of its records: its default ones hold for all\n"
                         "kes: 3 points: 2 ok, 1 notFinite\n");
  auto const rows = rowsOf(run.out);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[0], (Fields{"sample", "line", "height", "x", "y", "z", "sigmaX", "sigmaY", "sigmaZ"}));
  EXPECT_NEAR(std::stod(rows[1][6]), std::sqrt(0.05 * 0.05 + 0.01 * 0.01 + 0.3 * 0.3), 1e-6);
  EXPECT_NEAR(std::stod(rows[1][7]), std::sqrt(0.05 * 0.05 + 0.01 * 0.01 + 0.6 * 0.6), 1e-6);
  EXPECT_EQ(rows[1][8], "0.4");
  // A hundred metres aside, where the line of sight goes out by a tenth of its depth.
  EXPECT_NEAR(std::stod(rows[2][6]), std::sqrt(0.05 * 0.05 + 0.01 * 0.01 + 0.001 * 0.001 + 0.3 * 0.3), 1e-6);
  EXPECT_NEAR(std::stod(rows[2][7]), std::sqrt(0.05 * 0.05 * 1.01 + 0.0101 * 0.0101 + 0.6 * 0.6 + 0.04 * 0.04), 1e-6);
  EXPECT_EQ(rows[3], (Fields{"50", "", "0", "", "", "", "", "", ""}));
  // With standard deviations of the records.
  sensor::EOPData data(folder / "flight.eop", true, true);
  for (int i = 0; i < data.numSets(); ++i) {
    data.setStdDevs(i, 0.25F, 0.5F, 0.0F, 0.0F, 0.0F, 0.0F);
  }
  data.write(folder / "flight.eop", 0);
  KesRun const own = projected("0", "0");
  EXPECT_EQ(own.err, "kes: 3 points: 2 ok, 1 notFinite\n");
  Fields const row = rowsOf(own.out).at(1);
  EXPECT_EQ(Fields(row.begin() + 6, row.end()), (Fields{"0.25", "0.5", "0"}));
}

// The same flight. An error in the height of the line of sight's start, or a turn about the flight's axis, moves a
// position aside along y alone: x and y have no covariance but by the heights' own standard deviation.
TEST(KesProject, CovariancesFollowTheStandardDeviations) {
  test::TempFolder const folder;
  std::string const strip = test::SmallStrip().write(folder);
  KesRun const run =
      kes({"project", strip, "--calibrations", folder / "calibration", "--orientation", "original", "--band", "PANN00A",
           "--to", "ground", "--sigma", "0", "--height-sigma", "0.5", "--covariance", "--decimals", "1", "--verify"},
          "sample,line,height\n100,50,0\n50,,0\n");
  auto const rows = rowsOf(run.out);
  ASSERT_EQ(rows.size(), 3U) << run.err;
  EXPECT_EQ(Fields(rows[0].begin() + 6, rows[0].end()),
            (Fields{"sigmaX", "sigmaY", "sigmaZ", "covarianceXY", "covarianceXZ", "covarianceYZ", "closure",
                    "closurePixels", "status"}));
  EXPECT_EQ(rows[1][8], "0.5");
  // The line of sight goes out by a tenth of its depth: a height moves the position by a tenth of its error, back to
  // below the camera.
  double const y = std::stod(rows[1][4]);
  ASSERT_NEAR(std::fabs(y), 100.0, 5.0);
  EXPECT_NEAR(std::stod(rows[1][9]), 0.0, 1e-5);
  EXPECT_NEAR(std::stod(rows[1][10]), 0.0, 1e-5);
  EXPECT_NEAR(std::stod(rows[1][11]), -y / 1000.0 * 0.25, 1e-5);
  EXPECT_EQ(Fields(rows[2].begin() + 6, rows[2].end() - 1), Fields(8, ""));
}

TEST(KesProject, SigmaNeedsHeightsOnTheGround) {
  auto const errorOf = [](std::vector<std::string> const& options) {
    KesRun const run = project(options, "");
    EXPECT_EQ(run.code, 2);
    return run.err.substr(0, run.err.find('\n'));
  };
  EXPECT_EQ(errorOf({"--band", "PANF27A", "--to", "image", "--sigma", "1"}), "--sigma: goes with --to ground");
  EXPECT_EQ(errorOf({"--band", "PANF27A", "--to", "ground", "--sigma", "1", "--dem", KESSENSOR_TERRAIN}),
            "--sigma: goes with heights of the table, without --dem");
  EXPECT_EQ(errorOf({"--band", "PANF27A", "--to", "ground", "--sigma", "-1"}),
            "--sigma: Value -1 not in range 0.000000 to 1000000.000000");
  EXPECT_EQ(errorOf({"--band", "PANF27A", "--to", "ground", "--height-sigma", "1"}), "--height-sigma requires --sigma");
  EXPECT_EQ(errorOf({"--band", "PANF27A", "--to", "ground", "--covariance"}), "--covariance requires --sigma");
}

TEST(KesProject, WrongUsageGivesTwo) {
  EXPECT_EQ(project({"--band", "PANF27A"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "space"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "image", "--tdi", "2"}, "x,y,z\n").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", "--frame", "moon"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", "--solver", "fast"}, "").code, 2);
  EXPECT_EQ(project({"--band", "PANF27A", "--to", "ground", "--threads", "0"}, "").code, 2);
}

}  // namespace
