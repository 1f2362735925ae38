// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <sstream>

// `kes points`.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

constexpr char const* local = "+proj=topocentric +datum=WGS84 +lon_0=-1.4r +lat_0=0.6r +h_0=500 +type=crs";

// The small strip flies to the east, 1 m a line, and sees 2 m in a pixel with sample 50 in the middle: a point at (x,
// y, 0) is at sample 50 + y / 2, line x.
class KesPoints : public test::BlockFolder {
protected:
  KesRun residuals(std::string const& project, std::vector<std::string> const& options = {}) const {
    std::vector<std::string> arguments{"points",        "residuals", project, "--calibrations", mFolder / "calibration",
                                       "--orientation", "original"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kes(arguments);
  }
  std::string block() const {
    mFolder.file("points.gpt", "A 10 20 0\nB 30 -10 0\nC 50 0 0\n");
    mFolder.file("PANN00A.ipt",
                 "\"A\" 60.5 10 0.1 0.1 1\n\"B\" 45 29.5 0.1 0.1 1\n\"C\" 0 0 0.1 0.1 0\n\"X\" 1 1 1 1 1\n");
    return file(twoStrips() +
                "<CoordinateSystem definition=\"EPSG:4979\"/><GroundControls><GCP filename=\"points.gpt\">"
                "<CoordinateSystem definition=\"" +
                std::string(local) + "\"/></GCP></GroundControls>");
  }
};

TEST_F(KesPoints, ResidualsAreMeasuredLessProjected) {
  KesRun const result = residuals(block(), {"--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  json const all = json::parse(result.out);
  ASSERT_EQ(all["strips"].size(), 2U);
  json const& band = all["strips"][0]["bands"][0];
  EXPECT_EQ(all["strips"][0]["name"], "East");
  EXPECT_EQ(band["id"], "PANN00A");
  EXPECT_EQ(band["file"], mFolder / "PANN00A.ipt");
  ASSERT_EQ(band["points"].size(), 3U);
  double const projected[3][2] = {{60.0, 10.0}, {45.0, 30.0}, {50.0, 50.0}};
  double const measured[3][2] = {{60.5, 10.0}, {45.0, 29.5}, {0.0, 0.0}};
  for (std::size_t i = 0; i < 3; ++i) {
    json const& point = band["points"][i];
    EXPECT_EQ(point["id"], std::string(1, static_cast<char>('A' + i)));
    EXPECT_EQ(point["active"], i != 2);
    EXPECT_EQ(point["measured"]["sample"].get<double>(), measured[i][0]);
    EXPECT_EQ(point["measured"]["line"].get<double>(), measured[i][1]);
    // The solver's tolerance.
    EXPECT_NEAR(point["projected"]["sample"].get<double>(), projected[i][0], 0.01);
    EXPECT_NEAR(point["projected"]["line"].get<double>(), projected[i][1], 0.05);
    EXPECT_NEAR(point["residual"]["sample"].get<double>(), measured[i][0] - projected[i][0], 0.01);
    EXPECT_NEAR(point["residual"]["line"].get<double>(), measured[i][1] - projected[i][1], 0.05);
  }
}

TEST_F(KesPoints, CsvHasTheDecimalsAskedFor) {
  std::string const table = residuals(block(), {"--csv", "--decimals", "1"}).out;
  EXPECT_THAT(table, HasSubstr("\nEast,PANN00A,A,1,ok,60.5,10.0,60.0,10.0,0.5,"));
  EXPECT_EQ(residuals(block(), {"--decimals", "1"}).code, 2);
}

TEST_F(KesPoints, StatisticsAreThoseOfThePointsInUse) {
  json const all = json::parse(residuals(block(), {"--json"}).out);
  json const& band = all["strips"][0]["bands"][0];
  json const& statistics = band["statistics"];
  EXPECT_EQ(statistics["points"], 2);
  // 0.5 and 0 samples, 0 and -0.5 lines.
  EXPECT_NEAR(statistics["rms"]["sample"].get<double>(), std::sqrt(0.5 * 0.25), 0.01);
  EXPECT_NEAR(statistics["rms"]["line"].get<double>(), std::sqrt(0.5 * 0.25), 0.04);
  EXPECT_NEAR(statistics["mean"]["sample"].get<double>(), 0.25, 0.01);
  EXPECT_NEAR(statistics["mean"]["line"].get<double>(), -0.25, 0.01);
  EXPECT_NEAR(statistics["median"]["sample"].get<double>(), 0.25, 0.01);
  EXPECT_NEAR(statistics["largest"]["line"].get<double>(), 0.5, 0.01);
  EXPECT_NEAR(band["gsd"].get<double>(), 2.0, 1e-5);
  EXPECT_EQ(all["statistics"]["points"], 4);
  EXPECT_NEAR(all["statistics"]["rms"]["sample"].get<double>(), std::sqrt(0.5 * 0.25), 0.01);
}

// Residuals of 0, 0.1, ... 0.3 samples, and one of 3: the median is 0.2, the median departure 0.1, and 3.5 standard
// deviations are 3.5 * 0.148 = 0.52.
class KesPointsOfFive : public KesPoints {
protected:
  KesRun five(std::vector<std::string> options, std::string const& last = "63") const {
    std::string const points = mFolder.file("points.gpt", "A 10 20 0\nB 20 20 0\nC 30 20 0\nD 40 20 0\nE 50 20 0\n");
    mFolder.file("PANN00A.ipt", "\"A\" 60 10 1 1 1\n\"B\" 60.1 20 1 1 1\n\"C\" 60.2 30 1 1 1\n\"D\" 60.3 40 1 1 1\n"
                                "\"E\" " +
                                    last + " 50 1 1 1\n");
    options.insert(options.end(), {"--points", points, "--crs", local});
    return residuals(addStrip("a.stp", "West"), options);
  }
};

TEST_F(KesPointsOfFive, OutliersAreMarked) {
  json const all = json::parse(five({"--json"}).out);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(all["bands"][0]["points"][i]["outlier"], i == 4);
  }
  EXPECT_NEAR(all["bands"][0]["statistics"]["median"]["sample"].get<double>(), 0.2, 1e-4);
  EXPECT_THAT(five({}).out, testing::ContainsRegex("PANN00A +E +63.000 +50.000 +3.000 +-?0.000 +outlier\n"));
}

TEST_F(KesPointsOfFive, FewAreNoOutliers) {
  json const all = json::parse(residuals(block(), {"--json"}).out);
  EXPECT_EQ(all["strips"][0]["bands"][0]["points"][0]["outlier"], false);
}

TEST_F(KesPointsOfFive, ResidualsBeyondTheLimitAreAFailure) {
  EXPECT_EQ(five({}).code, 0);
  KesRun const given = five({"--limit", "2"});
  EXPECT_EQ(given.code, 1);
  EXPECT_EQ(given.err,
            "kes: error: 1 of 5 residuals exceed 2 pixels (--limit), the largest of 3.0 pixels: West: PANN00A: point "
            "\"E\"\n");
  EXPECT_THAT(given.out, HasSubstr("outlier"));
  EXPECT_EQ(five({}, "71").code, 1);
}

TEST_F(KesPointsOfFive, CsvHasEachResidualInMetresToo) {
  std::string const out = five({"--csv"}).out;
  EXPECT_THAT(out, testing::StartsWith("strip,band,point,used,status,sample,line,projectedSample,projectedLine,"
                                       "residualSample,residualLine,residualAcross,residualAlong,outlier\n"
                                       "West,PANN00A,A,1,ok,60,10,"));
  std::istringstream rows(out);
  std::string row;
  for (int i = 0; i < 6; ++i) {
    std::getline(rows, row);
  }
  std::vector<std::string> fields;
  std::istringstream last(row);
  for (std::string field; std::getline(last, field, ',');) {
    fields.push_back(field);
  }
  ASSERT_EQ(fields.size(), 14U);
  EXPECT_NEAR(std::stod(fields[9]), 3.0, 1e-4);
  EXPECT_NEAR(std::stod(fields[11]), 6.0, 1e-3);
  EXPECT_EQ(fields[13], "1");
}

TEST_F(KesPointsOfFive, DecimalCommasAreNamed) {
  KesRun const run = five({}, "63,5");
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err,
            "kes: error: " + (mFolder / "PANN00A.ipt") + ":5: \"63,5\" has a decimal comma; numbers take a point\n");
  std::string const points = mFolder.file("comma.gpt", "; a note, 1,5\n\"A, 1,5\" 1 2 3\nB 1,5 2 3\n");
  EXPECT_EQ(residuals(addStrip("a.stp", "West"), {"--points", points}).err,
            "kes: error: " + points + ":3: \"1,5\" has a decimal comma; numbers take a point\n");
}

TEST_F(KesPointsOfFive, WrongSystemIsSuspected) {
  std::string const points = mFolder.file("points.gpt", "A 0.6 -1.4 500\n");
  mFolder.file("PANN00A.ipt", "\"A\" 60 10 1 1 1\n");
  KesRun const run = residuals(addStrip("a.stp", "West"), {"--points", points});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::EndsWith(" km from the strip: are longitude and latitude swapped?\n"));
}

TEST_F(KesPoints, MeasurementsOfUnknownPointsAreNamed) {
  std::string const name = block();
  EXPECT_EQ(json::parse(residuals(name, {"--json"}).out)["strips"][0]["bands"][0]["unknown"], json::array({"X"}));
  EXPECT_THAT(residuals(name).out, HasSubstr("warning: PANN00A: point \"X\" isn't among the ground points\n"));
}

TEST_F(KesPoints, PointsOfTwoImagesAreTiePoints) {
  std::string const name = block();
  std::string const other = addStrip("b.stp", "East");
  std::string text = test::contents(other);
  mFolder.file("b.stp", text.replace(text.find("PANN00A.tif"), 11, "OTHER.tif"));
  mFolder.file("OTHER.ipt", "\"X\" 2 2 1 1 1\n\"Y\" 3 3 1 1 1\n\"A\" 60.5 10 0.1 0.1 1\n");
  std::string const out = residuals(name).out;
  EXPECT_THAT(out, HasSubstr("\ntie points: 1, each in two images or more\n"));
  EXPECT_THAT(out, testing::Not(HasSubstr("\"X\"")));
  EXPECT_THAT(out, HasSubstr("warning: PANN00A: point \"Y\" isn't among the ground points\n"));
  KesRun const check = test::kes({"check", name, "--calibrations", mFolder / "calibration"});
  EXPECT_THAT(check.out, HasSubstr("tie points: 1, each in two images or more\n"));
  EXPECT_THAT(check.out, testing::Not(HasSubstr("\"X\"")));
  EXPECT_THAT(check.out, HasSubstr("warning: " + other + ": PANN00A: point \"Y\" isn't among the ground points\n"));
  json const all = json::parse(test::kes({"check", name, "--calibrations", mFolder / "calibration", "--json"}).out);
  EXPECT_EQ(all["tiePoints"], 1);
}

TEST_F(KesPoints, TextHasEachResidualAndTheSums) {
  std::string const out = residuals(block()).out;
  EXPECT_THAT(out, HasSubstr("strip: East\n"));
  EXPECT_THAT(out, HasSubstr("strip: West\n"));
  EXPECT_THAT(out, testing::ContainsRegex("PANN00A +A +60.500 +10.000 +0.50"));
  EXPECT_THAT(out, testing::ContainsRegex("PANN00A +C +0.000 +0.000 .*not used\n"));
  EXPECT_THAT(out, testing::ContainsRegex("PANN00A +2 +0.250 +-0.250 +0.250 +-0.250 +0.354 +0.354 +0.707 +0.707"));
}

TEST_F(KesPoints, StripAloneHasItsPointsInTheFolderAboveAndTheirSystemInRadians) {
  mFolder.file("control/controls.gpt", "A -1.4 0.6 500\n");
  mFolder.file("PANN00A.ipt", "\"A\" 51 0.25 0.1 0.1 1\n");
  KesRun const result = residuals(addStrip("a.stp", "West"), {"--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  json const strip = json::parse(result.out);
  EXPECT_EQ(strip["name"], "West");
  json const& point = strip["bands"][0]["points"][0];
  // The anchor itself.
  EXPECT_NEAR(point["projected"]["sample"].get<double>(), 50.0, 0.01);
  EXPECT_NEAR(point["projected"]["line"].get<double>(), 0.0, 0.05);
}

TEST_F(KesPoints, PointsAndTheirSystemCanBeGiven) {
  std::string const points = mFolder.file("other.gpt", "A 10 20 0\n");
  mFolder.file("PANN00A.ipt", "\"A\" 60 10 0.1 0.1 1\n");
  KesRun const result = residuals(addStrip("a.stp", "West"), {"--points", points, "--crs", local, "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_NEAR(json::parse(result.out)["statistics"]["rms"]["sample"].get<double>(), 0.0, 0.01);
}

TEST_F(KesPoints, WhatIsMissingIsNamed) {
  std::string const strip = addStrip("a.stp", "West");
  EXPECT_EQ(residuals(strip).err,
            "kes: error: no control/controls.gpt in the folder of " + strip + " or above: give --points\n");
  std::string const none = mFolder.file("none.gpt", "");
  EXPECT_EQ(residuals(strip, {"--points", none}).err, "kes: error: no ground points in " + none + "\n");
  EXPECT_EQ(residuals(block(), {"--band", "NIRX"}).err,
            "kes: error: no band \"NIRX\" in the strips, which have PANN00A\n");
}

// The small strip has 101 lines of 1 m: a point 10 km ahead isn't in its image.
TEST_F(KesPoints, PointsWithoutAPositionAreListedAndFail) {
  std::string const points = mFolder.file("points.gpt", "A 10 20 0\nB nan 20 0\nC 10000 0 0\n");
  mFolder.file("PANN00A.ipt", "\"A\" 60.5 10 0.1 0.1 1\n\"B\" 51 0.25 0.1 0.1 1\n\"C\" 51 0.25 0.1 0.1 1\n");
  std::string const strip = addStrip("a.stp", "West");
  KesRun const result = residuals(strip, {"--points", points, "--crs", local, "--json"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "kes: error: West: PANN00A: point \"B\" can't be projected: notFinite\n");
  json const band = json::parse(result.out)["bands"][0];
  char const* const statuses[] = {"ok", "notFinite", "noSolution"};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(band["points"][i]["status"], statuses[i]);
    EXPECT_EQ(band["points"][i]["residual"]["sample"].is_null(), i != 0);
  }
  EXPECT_EQ(band["statistics"]["points"], 1);
  EXPECT_NEAR(band["statistics"]["rms"]["sample"].get<double>(), 0.5, 1e-4);
  KesRun const text = residuals(strip, {"--points", points, "--crs", local});
  EXPECT_THAT(text.out, testing::ContainsRegex("PANN00A +C +51.000 +0.250 +noSolution\n"));
}

TEST_F(KesPoints, PointThatIsntInUseMayLackAPosition) {
  std::string const points = mFolder.file("points.gpt", "A 10 20 0\nB nan 20 0\n");
  mFolder.file("PANN00A.ipt", "\"A\" 60.5 10 0.1 0.1 1\n\"B\" 51 0.25 0.1 0.1 0\n");
  EXPECT_EQ(residuals(addStrip("a.stp", "West"), {"--points", points, "--crs", local}).code, 0);
}

TEST_F(KesPoints, NothingToCompareIsAFailure) {
  std::string const points = mFolder.file("points.gpt", "A 10 20 0\n");
  mFolder.file("PANN00A.ipt", "\"X\" 60.5 10 0.1 0.1 1\n");
  KesRun const result = residuals(addStrip("a.stp", "West"), {"--points", points, "--crs", local});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "kes: error: no measurement of a ground point is in use\n");
  EXPECT_THAT(result.out, HasSubstr("warning: PANN00A: point \"X\" isn't among the ground points\n"));
}

}  // namespace
