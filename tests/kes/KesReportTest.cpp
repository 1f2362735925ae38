// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "../platform/ElevationSupport.h"
#include "Kes.h"
#include "support/BlockFolder.h"
#include "support/Bytes.h"
#include "support/Matchers.h"

#include <QXmlStreamReader>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <numbers>

// `kes report`.

namespace {

using nlohmann::json;
using test::contents;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

constexpr double degrees = 180.0 / std::numbers::pi;
constexpr char const* local = "+proj=topocentric +datum=WGS84 +lon_0=-1.4r +lat_0=0.6r +h_0=500 +type=crs";

// The small strip flies to the east at 100 m/s, 1000 m above the anchor, which is at 500 m; it takes a line of 101
// pixels of 2 m every 10 ms from second 100 on, and has 20 orientation records in a second from second 99 on.
class KesReport : public test::BlockFolder {
protected:
  KesRun report(std::string const& project, std::vector<std::string> const& options = {}) const {
    return reportIn(mFolder / "report.html", project, options);
  }
  KesRun reportIn(std::string const& file, std::string const& project,
                  std::vector<std::string> const& options = {}) const {
    std::vector<std::string> arguments{"report", project, "--calibrations", mFolder / "calibration", "--grid", "3",
                                       "-o",     file};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kes(arguments);
  }
  json numbers() const { return json::parse(contents(mFolder / "report.json")); }
  std::string page() const { return contents(mFolder / "report.html"); }
  json numbersOf(std::string const& project, std::vector<std::string> const& options = {}) const {
    KesRun const run = report(project, options);
    EXPECT_EQ(run.code, 0) << run.err;
    return run.code == 0 ? numbers() : json();
  }
  std::string valley() const {
    mFolder.file("points.gpt", "A 10 20 0\nB 30 -10 0\nC 50 0 0\n");
    mFolder.file("PANN00A.ipt", "\"A\" 60.5 10 0.1 0.1 1\n\"B\" 45 29.5 0.1 0.1 1\n\"X\" 1 1 1 1 1\n");
    return file(twoStrips() +
                "<CoordinateSystem definition=\"EPSG:4979\"/><GroundControls><GCP filename=\"points.gpt\">"
                "<CoordinateSystem definition=\"" +
                std::string(local) + "\"/></GCP></GroundControls>");
  }
  // Replaces the orientation by records at times, straight and level but for a roll.
  void flyAt(std::vector<double> const& times, std::function<double(double)> const& roll) const {
    std::string const block = "<EOPData version=\"3\" numsets=\"" + std::to_string(times.size()) +
                              "\"><AnchorPoint lat=\"0.6\" lon=\"-1.4\" h=\"500\"/><AbsoluteTime value=\"77\"/>"
                              "</EOPData>";
    auto const length = static_cast<std::int32_t>(block.size() + 1);
    test::Bytes bytes;
    bytes << std::string("EOP_") << std::int32_t{3} << (20 + length) << std::int32_t{0} << length << (block + '\0');
    for (double const time : times) {
      bytes << time << 100.0 * (time - 100.0) << 0.0 << 1000.0;
      bytes << static_cast<float>(roll(time)) << 0.0F << 0.0F << 0.0F;
    }
    mFolder.file("flight.eop", bytes.str());
  }
};

std::vector<double> timesFrom(double first, int count, double step) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    times.push_back(first + step * i);
  }
  return times;
}

TEST_F(KesReport, TrajectoryIsThatOfTheFlight) {
  mStrip.roll = 0.02;
  mStrip.kappaError = 0.01;
  json const trajectory = numbersOf(mStrip.write(mFolder))["strips"][0]["trajectory"];
  // Until 1 s after the last line, and a record or two more.
  constexpr double span = 0.05 * 61;
  EXPECT_EQ(trajectory["records"], 62);
  EXPECT_EQ(trajectory["start"], 99.0);
  EXPECT_NEAR(trajectory["end"].get<double>(), 99.0 + span, 1e-12);
  EXPECT_NEAR(trajectory["frequency"].get<double>(), 20.0, 1e-9);
  EXPECT_NEAR(trajectory["length"].get<double>(), 100.0 * span, 1e-9);
  EXPECT_EQ(trajectory["gaps"].size(), 0U);
  EXPECT_EQ(trajectory["outOfOrder"], 0);
  EXPECT_NEAR(trajectory["speed"]["lowest"].get<double>(), 100.0, 1e-6);
  EXPECT_NEAR(trajectory["speed"]["highest"].get<double>(), 100.0, 1e-6);
  // The Earth falls away from the local plane: 205 m from the anchor, by 3 mm.
  EXPECT_NEAR(trajectory["height"]["lowest"].get<double>(), 1500.0, 1e-5);
  EXPECT_NEAR(trajectory["height"]["highest"].get<double>(), 1500.0 + 205.0 * 205.0 / (2.0 * 6.38e6), 1e-4);
  // Degrees; horizon and north turn with the place, by 205 m of the Earth's radius.
  constexpr double turn = 205.0 / 6.36e6 * degrees;
  // The rotation matrix of omega and kappa: its elements 23 and 33, and 13.
  EXPECT_NEAR(trajectory["roll"]["mean"].get<double>(),
              std::atan2(std::sin(0.02) * std::cos(0.01), std::cos(0.02)) * degrees, turn);
  EXPECT_NEAR(trajectory["pitch"]["mean"].get<double>(), std::sin(0.02) * std::sin(0.01) * degrees, turn);
  EXPECT_NEAR(trajectory["heading"]["mean"].get<double>(), 90.0 - 0.01 * degrees, turn);
}

// In the plane of the anchor, a camera that is level there pitches by the angle that it has flown.
TEST_F(KesReport, AttitudeIsAgainstTheHorizonOfThePlace) {
  json const pitch = numbersOf(mStrip.write(mFolder))["strips"][0]["trajectory"]["pitch"];
  constexpr double radius = 6.385e6;  // across the meridian at 0.6 radians
  EXPECT_NEAR(pitch["lowest"].get<double>(), -100.0 / (radius + 1500.0) * degrees, 2e-5);
  EXPECT_NEAR(pitch["highest"].get<double>(), 205.0 / (radius + 1500.0) * degrees, 2e-5);
}

TEST_F(KesReport, GapsAndRecordsOutOfOrderAreListed) {
  std::string const strip = mStrip.write(mFolder);
  std::vector<double> times = timesFrom(99.0, 30, 0.05);
  std::vector<double> const later = timesFrom(101.0, 30, 0.05);
  times.insert(times.end(), later.begin(), later.end());
  times.push_back(times.back());
  flyAt(times, [](double) { return 0.0; });
  json const trajectory = numbersOf(strip)["strips"][0]["trajectory"];
  ASSERT_EQ(trajectory["gaps"].size(), 1U);
  EXPECT_NEAR(trajectory["gaps"][0]["start"].get<double>(), 100.45, 1e-9);
  EXPECT_NEAR(trajectory["gaps"][0]["seconds"].get<double>(), 0.55, 1e-9);
  EXPECT_EQ(trajectory["outOfOrder"], 1);
  EXPECT_THAT(page(), HasSubstr("1 gaps in the orientation"));
}

TEST_F(KesReport, JitterStandsInItsOctave) {
  mStrip.lines = 1901;
  std::string const strip = mStrip.write(mFolder);
  constexpr double amplitude = 1e-3;
  // Over a slow drift, and with a gap of which the shorter side is left out.
  std::vector<double> times = timesFrom(99.0, 400, 0.05);
  times.push_back(120.0);
  flyAt(times,
        [](double t) { return 0.01 + 1e-4 * (t - 99.0) + amplitude * std::sin(2.0 * std::numbers::pi * 2.0 * t); });
  json const jitter = numbersOf(strip)["strips"][0]["trajectory"]["jitter"];
  ASSERT_GE(jitter.size(), 4U);
  for (json const& octave : jitter) {
    bool const isIn = octave["from"].get<double>() < 2.0 && octave["to"].get<double>() >= 2.0;
    // A seventh digit of single precision; the line that is taken off goes through the sine, too.
    EXPECT_NEAR(octave["roll"].get<double>(), isIn ? amplitude / std::sqrt(2.0) : 0.0, 0.01 * amplitude) << octave;
    EXPECT_NEAR(octave["heading"].get<double>(), 0.0, 1e-6) << octave;
  }
}

TEST_F(KesReport, TimingIsThatOfTheLines) {
  mStrip.bands.push_back({"PANF27A", 25.0});
  json const strip = numbersOf(mStrip.write(mFolder))["strips"][0];
  json const& band = strip["bands"][1];
  EXPECT_EQ(band["id"], "PANF27A");
  EXPECT_EQ(band["lines"], 101);
  EXPECT_NEAR(band["lookAngle"].get<double>(), std::atan(0.5) * degrees, 1e-5);
  EXPECT_EQ(band["timing"]["start"], 100.0);
  EXPECT_NEAR(band["timing"]["end"].get<double>(), 101.0, 1e-9);
  EXPECT_NEAR(band["timing"]["period"]["lowest"].get<double>(), 0.01, 1e-12);
  EXPECT_NEAR(band["timing"]["period"]["highest"].get<double>(), 0.01, 1e-12);
  EXPECT_EQ(band["timing"]["notRising"], 0);
  EXPECT_EQ(strip["linePeriod"]["band"], "PANN00A");
  EXPECT_NEAR(strip["bands"][0]["gsd"].get<double>(), 2.0, 1e-4);
}

TEST_F(KesReport, ClosureIsThatOfTheCommand) {
  std::string const strip = mStrip.write(mFolder);
  json const report = numbersOf(strip)["strips"][0]["bands"][0]["closure"];
  json expected = json::parse(
      kes({"closure", strip, "--calibrations", mFolder / "calibration", "--grid", "3", "--json"}).out)["bands"][0];
  expected.erase("pointsPerSecond");
  expected.erase("id");
  EXPECT_EQ(report, expected);
  EXPECT_EQ(report["points"], 36);
}

TEST_F(KesReport, ResidualsAreThoseOfTheCommand) {
  std::string const block = valley();
  json const report = numbersOf(block);
  json const expected =
      json::parse(kes({"points", "residuals", block, "--calibrations", mFolder / "calibration", "--json"}).out);
  EXPECT_EQ(report["residuals"], expected["statistics"]);
  EXPECT_EQ(report["residuals"]["points"], 4);
  ASSERT_EQ(report["strips"].size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(report["strips"][i]["name"], expected["strips"][i]["name"]);
    EXPECT_EQ(report["strips"][i]["residuals"], expected["strips"][i]["bands"]);
  }
  EXPECT_EQ(report["title"], "Valley");
  EXPECT_EQ(report["kind"], "block");
  EXPECT_THAT(page(), HasSubstr("Residuals of ground points"));
}

// The pixels' outer edges lie 101 m to the left and right, half a metre before the first and after the last line.
TEST_F(KesReport, OutlineIsThatOfThePixels) {
  json const report = numbersOf(mStrip.write(mFolder), {"--crs", local});
  json const outline = report["strips"][0]["bands"][0]["outline"];
  EXPECT_EQ(outline["complete"], true);
  double lowest[2] = {1e9, 1e9};
  double highest[2] = {-1e9, -1e9};
  for (json const& point : outline["points"]) {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      lowest[axis] = std::fmin(lowest[axis], point[axis].get<double>());
      highest[axis] = std::fmax(highest[axis], point[axis].get<double>());
    }
  }
  EXPECT_NEAR(lowest[0], -0.5, 1e-3);
  EXPECT_NEAR(highest[0], 100.5, 1e-3);
  EXPECT_NEAR(lowest[1], -101.0, 1e-2);
  EXPECT_NEAR(highest[1], 101.0, 1e-2);
  EXPECT_NEAR(report["map"]["metresPerUnit"].get<double>(), 1.0, 1e-3);
  EXPECT_NEAR(report["strips"][0]["flightLine"][0][0].get<double>(), -100.0, 1e-6);
}

// 0.6 radians north and 1.4 radians west are in zone 17.
TEST_F(KesReport, MapIsInTheZoneOfTheStripOrThatOfTheBlockOrAsGiven) {
  EXPECT_EQ(numbersOf(mStrip.write(mFolder))["map"]["crs"], "EPSG:32617");
  EXPECT_EQ(numbersOf(valley())["map"]["crs"], "EPSG:32617");
  EXPECT_EQ(numbersOf(file(twoStrips() + "<CoordinateSystem definition=\"EPSG:32616\"/>"))["map"]["crs"], "EPSG:32616");
  EXPECT_EQ(numbersOf(valley(), {"--crs", "EPSG:3857"})["map"]["crs"], "EPSG:3857");
  // A metre of that map is shorter by the cosine of the latitude.
  EXPECT_NEAR(numbers()["map"]["metresPerUnit"].get<double>(), std::cos(0.6), 2e-3);
  EXPECT_EQ(report(valley(), {"--crs", "EPSG:4326", "--orientation", "original"}).err,
            "kes: error: the map of a report takes a projected coordinate system, not EPSG:4326\n");
}

TEST_F(KesReport, FindingsAreThoseOfTheCheck) {
  std::string const strip = mStrip.write(mFolder);
  json report = numbersOf(strip);
  EXPECT_EQ(report["valid"], true);
  EXPECT_EQ(report["findings"].size(), 0U);
  flyAt(timesFrom(99.0, 30, 0.05), [](double) { return 0.0; });
  report = numbersOf(strip);
  std::string findings;
  for (json const& finding : report["findings"]) {
    findings += finding.get<std::string>() + "\n";
  }
  EXPECT_EQ(findings + "valid\n", kes({"check", strip, "--calibrations", mFolder / "calibration"}).out);
  EXPECT_THAT(findings, HasSubstr("lines lie outside the span of the orientation"));
  EXPECT_THAT(page(), HasSubstr("lines lie outside the span of the orientation"));
}

TEST_F(KesReport, ValidatesAgainstItsSchema) {
  numbersOf(valley());
  std::string const command = "python3 -c 'import json, jsonschema, sys; jsonschema.validate(*(json.load(open(name)) "
                              "for name in sys.argv[1:]))' '" +
                              mFolder / "report.json" + "' '" KESSENSOR_SCHEMAS "/report.schema.json'";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

// The texts of the elements of a name, and a test failure where the page isn't well-formed.
std::vector<std::string> textsOf(std::string const& page, char const* element) {
  std::vector<std::string> texts;
  QXmlStreamReader reader(QString::fromStdString(page));
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String(element)) {
      texts.push_back(reader.readElementText(QXmlStreamReader::IncludeChildElements).toStdString());
    }
  }
  EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
  return texts;
}

TEST_F(KesReport, PageIsWellFormedAndNeedsNothingElse) {
  numbersOf(valley());
  std::string const html = page();
  EXPECT_THAT(html, testing::StartsWith("<!DOCTYPE html>"));
  EXPECT_THAT(textsOf(html, "title"), testing::Contains("Valley: flight report"));
  EXPECT_THAT(html, testing::Not(HasSubstr("<script")));
  EXPECT_THAT(html, testing::Not(HasSubstr("http")));
  EXPECT_THAT(html, testing::Not(HasSubstr("url(")));
  EXPECT_THAT(html, testing::Not(HasSubstr("nan")));
  // HTML takes such elements for open ones.
  for (char const* const element : {"div", "p", "td", "th", "span", "text", "title", "style"}) {
    EXPECT_THAT(html, testing::Not(testing::ContainsRegex("<" + std::string(element) + "( [^>]*)?/>")));
  }
}

TEST_F(KesReport, TextsAreEscaped) {
  std::string const strip = addStrip("strip.stp", "&lt;b&gt;&amp;&quot;&lt;/script&gt;");
  numbersOf(strip);
  EXPECT_THAT(textsOf(page(), "h1"), testing::ElementsAre("<b>&\"</script>"));
  EXPECT_THAT(page(), testing::Not(HasSubstr("<b>")));
  EXPECT_THAT(page(), testing::Not(HasSubstr("</script>")));
  EXPECT_EQ(numbers()["title"], "<b>&\"</script>");
}

TEST_F(KesReport, SameBytesTwice) {
  std::string const block = valley();
  numbersOf(block);
  std::string const firstPage = page();
  std::string const firstNumbers = contents(mFolder / "report.json");
  numbersOf(block);
  EXPECT_EQ(page(), firstPage);
  EXPECT_EQ(contents(mFolder / "report.json"), firstNumbers);
}

// An elevation model of noise, which nothing compresses.
TEST_F(KesReport, PageOfTwentyStripsIsBelowFiveMegabytes) {
  mStrip.lines = 1500;
  mStrip.bands = {{"PANF27A", 25.0}, {"PANN00A", 0.0}, {"PANB14A", -12.0}};
  std::string strips;
  for (int i = 0; i < 20; ++i) {
    std::string const name = "strip" + std::to_string(i);
    addStrip(name + ".stp", name);
    strips += "<Strip filename=\"" + name + ".stp\"/>";
  }
  flyAt(timesFrom(99.0, 1000, 0.02), [](double t) { return 0.1 * std::sin(1e4 * t); });
  test::ElevationRaster dem;
  dem.system = "EPSG:4326";
  dem.columns = dem.rows = 400;
  dem.geoTransform = {-1.4 * degrees - 0.02, 1e-4, 0.0, 0.6 * degrees + 0.02, 0.0, -1e-4};
  dem.fill([](int column, int row) { return 500.0 + (column * 7919 + row * 104729) % 97; });
  numbersOf(file("<Strips>" + strips + "</Strips><CoordinateSystem definition=\"EPSG:32617\"/>"),
            {"--dem", dem.write(mFolder)});
  EXPECT_EQ(numbers()["strips"].size(), 20U);
  EXPECT_THAT(page(), HasSubstr("data:image/png;base64,"));
  EXPECT_LT(page().size(), 5'000'000U);
}

TEST_F(KesReport, FailureLeavesOlderFilesAndNoNewOnes) {
  std::string const strip = mStrip.write(mFolder);
  mFolder.file("flight.eop", "no orientation");
  int const before = test::entryCount(mFolder.path());
  EXPECT_EQ(report(strip).code, 1);
  EXPECT_EQ(test::entryCount(mFolder.path()), before);
  mStrip.write(mFolder);
  mFolder.file("report.html", "old page");
  mFolder.folder("report.json");
  EXPECT_EQ(report(strip).err, "kes: error: can't write " + mFolder / "report.json" + "\n");
  EXPECT_EQ(page(), "old page");
  EXPECT_EQ(test::entryCount(mFolder.path()), before + 2);
}

// The page has room on the disk, its numbers haven't.
TEST_F(KesReport, FullDiskLeavesBothOlderFiles) {
  test::SmallFileSystem const disk(1 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  std::string const strip = mStrip.write(mFolder);
  numbersOf(strip);
  std::ofstream(disk / "report.html") << "old page";
  std::ofstream(disk / "report.json") << "old numbers";
  disk.fill(static_cast<std::int64_t>(page().size() + contents(mFolder / "report.json").size() / 2));
  EXPECT_THAT(reportIn(disk / "report.html", strip).err,
              HasSubstr("kes: error: can't write " + disk / "report.json" + "\n"));
  EXPECT_EQ(contents(disk / "report.html"), "old page");
  EXPECT_EQ(contents(disk / "report.json"), "old numbers");
}

TEST_F(KesReport, NothingThatIsReadIsReplaced) {
  std::string const strip = mStrip.write(mFolder);
  std::string const points = mFolder.file("report.json", "A 10 20 0\n");
  EXPECT_EQ(report(strip, {"--points", points}).err, "kes: error: can't write " + points + ": it is read, too\n");
  EXPECT_EQ(contents(points), "A 10 20 0\n");
  KesRun const run = kes({"report", strip, "-o", mFolder / "report.json"});
  EXPECT_EQ(run.code, 2);
  EXPECT_THAT(run.err, HasSubstr("report.json doesn't end in .html or .htm"));
}

}  // namespace
