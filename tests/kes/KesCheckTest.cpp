// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CheckedStrip.h"
#include "platform/ElevationSupport.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"
#include "support/StripA.h"

#include <nlohmann/json.hpp>

// What `kes check` finds in strip and block files, and what they name.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using test::Lines;

class KesCheck : public test::CheckedStrip {
protected:
  Lines shallow() const { return findings({}); }
};

TEST_F(KesCheck, ValidStripIsValid) {
  KesRun const run = kes({"check", mFolder / "strip.stp", "--calibrations", mFolder / "calibration"});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "valid\n");
}

TEST_F(KesCheck, EverythingThatIsMissingIsNamedAtOnce) {
  mStrip.eop = "<EOP filename=\"none.eop\" filename_adjusted=\"none.adj\"/>";
  mStrip.rawData = "<RawData location=\"none\"/>";
  mStrip.images = "location=\"pictures\"";
  mStrip.bands[0].attributes = "swath=\"101\" it=\"none.it\" tdi=\"none.tdi\"";
  mStrip.calibration = "<Calibration version=\"v009\" sensor_id=\"T100\"/>";
  mFolder.file("strip.stp", mStrip.text());
  std::filesystem::remove(mFolder / "PANN00A.ctg");
  EXPECT_EQ(findings({"--images"}),
            (Lines{"error: strip.stp:8: Raw data location: none doesn't exist!",
                   "error: strip.stp:3: Image data location: pictures doesn't exist!",
                   "error: strip.stp:7: Original EOP file: none.eop doesn't exist!",
                   "error: strip.stp:7: Adjusted EOP file: none.adj doesn't exist!",
                   "error: strip.stp:4: CTG file: PANN00A.ctg doesn't exist!",
                   "error: strip.stp:4: Integration times: none.it doesn't exist!",
                   "error: strip.stp:4: TDI stages: none.tdi doesn't exist!",
                   "error: strip.stp:4: Image: pictures/PANN00A.tif doesn't exist!",
                   "error: strip.stp:4: Footprint file: PANN00A.xml doesn't exist!",
                   "error: strip.stp:6: No Camera found for sensor KESA0 ID: T100 version: v009"}));
}

TEST_F(KesCheck, ImagesThatWerentDeliveredAreNoErrors) {
  std::vector<std::string> const arguments{"check", mFolder / "strip.stp", "--calibrations", mFolder / "calibration",
                                           "--deep"};
  KesRun const run = kes(arguments);
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.out, "not delivered: " + (mFolder / "images/PANN00A.tif") + ": image of PANN00A\nvalid\n");
  mFolder.file("images/PANN00A.stat", "");
  EXPECT_EQ(findings({}), Lines{"error: strip.stp:4: Image: images/PANN00A.tif doesn't exist, and its statistics do"});
}

TEST_F(KesCheck, ElementsAndAttributesThatAreLeftOutAreNamed) {
  change("strip.stp", "swath=\"101\"", "swath=\"1o1\" colour=\"red\"");
  change("strip.stp", "mean_terrain_height=\"0\"", "mean_terrain_height=\"0,5\"");
  change("strip.stp", "</Strip>", "<Weather/>\n<RawData location=\"raw\"/>\n</Strip>");
  EXPECT_THAT(shallow(), testing::IsSupersetOf(Lines{
                             "error: strip.stp:2: mean_terrain_height=\"0,5\" has a decimal comma: it is read as 0",
                             "error: strip.stp:4: swath=\"1o1\" isn't a whole number: it is read as 0",
                             "warning: strip.stp:4: unknown attribute \"colour\" of \"Image\" is left out",
                             "warning: strip.stp:9: unknown element \"Weather\" is left out",
                             "error: strip.stp:10: element \"RawData\" stands here again: the last one counts",
                             "error: strip.stp:4: band \"PANN00A\" has a swath of 0 samples"}));
}

TEST_F(KesCheck, BandsThatStandTwiceAreErrors) {
  mStrip.bands.push_back(mStrip.bands[0]);
  mFolder.file("strip.stp", mStrip.text());
  EXPECT_EQ(shallow(),
            Lines{"error: strip.stp:5: band \"PANN00A\" stands in line 4, too: only the first one is found"});
}

TEST_F(KesCheck, SamplesBeyondTheCalibrationAreErrors) {
  change("strip.stp", "offset=\"0\"", "offset=\"-7\"");
  EXPECT_EQ(shallow(), Lines{"error: strip.stp:4: PANN00A: 101 samples from -7 on, and the calibration has 101"});
  change("strip.stp", "offset=\"-7\"", "offset=\"7\"");
  EXPECT_EQ(shallow(), Lines{"error: strip.stp:4: PANN00A: 101 samples from 7 on, and the calibration has 101"});
}

TEST_F(KesCheck, LinesOutsideTheOrientationAreSuspicious) {
  mStrip.lines = 1000;
  mStrip.write(mFolder);
  mStrip.lines = 101;
  mStrip.writeEop(mFolder, "flight.eop");
  // The orientation ends 1.05 s after line 101, the last of its own flight: at 102.05 s, which is line 205.
  EXPECT_EQ(shallow(),
            Lines{"warning: strip.stp:4: PANN00A: 794 of 1000 lines lie outside the span of the orientation"});
}

TEST_F(KesCheck, TdiWithoutAnIntegrationTimeIsSuspicious) {
  mFolder.file("a.tdi", std::string("\0\0\0\0\4", 5));
  mStrip.bands[0].attributes = "swath=\"101\" tdi=\"a.tdi\"";
  mFolder.file("strip.stp", mStrip.text());
  EXPECT_EQ(shallow(), Lines{"warning: strip.stp:4: PANN00A: TDI stages without an integration time"});
}

TEST_F(KesCheck, GapsAreSuspicious) {
  std::string const gaps = test::stripA::path("project/eop/gaps.eop");
  mStrip.eop = "<EOP filename=\"" + gaps + "\"/>";
  mFolder.file("strip.stp", mStrip.text());
  Lines const found = shallow();
  EXPECT_THAT(found, testing::Contains(testing::HasSubstr("gaps in the orientation, the longest of ")));
  EXPECT_THAT(found, testing::Contains(testing::StartsWith("warning: " + gaps + ": ")));
  EXPECT_THAT(found,
              testing::Contains(testing::HasSubstr("orientation records aren't later than the one before them")));
}

TEST_F(KesCheck, ImagesOfAnotherSizeAreErrors) {
  test::ElevationRaster raster;
  raster.system = "EPSG:4326";
  raster.values.assign(20, 1.0F);
  std::filesystem::rename(raster.write(mFolder), mFolder / "images/PANN00A.tif");
  EXPECT_EQ(findings(), Lines{"error: images/PANN00A.tif: the image has 5 samples and 4 lines, and the strip 101 and "
                              "101"});
  mFolder.file("images/PANN00A.tif", "nothing");
  EXPECT_THAT(findings(), testing::ElementsAre(testing::StartsWith("error: images/PANN00A.tif: the image can't be "
                                                                   "read: ")));
}

TEST_F(KesCheck, FootprintsThatArentXmlAreErrors) {
  mFolder.file("PANN00A.xml", "<Footprint>\n<a></b>\n</Footprint>");
  EXPECT_THAT(findings(), testing::ElementsAre(testing::StartsWith("error: PANN00A.xml:2: can't be read as XML: ")));
  mFolder.file("PANN00A.xml", "<!DOCTYPE a><a/>");
  EXPECT_EQ(findings(), Lines{"error: PANN00A.xml:1: can't be read as XML: a document type declaration"});
}

TEST_F(KesCheck, FileThatIsNoStripFileIsAnError) {
  mFolder.file("strip.stp", "no XML");
  KesRun const run = kes({"check", mFolder / "strip.stp"});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.out, testing::StartsWith("error: " + (mFolder / "strip.stp") + ": Error parsing xml file:"));
}

TEST_F(KesCheck, JsonHasEachFindingWithItsPlace) {
  change("strip.stp", "swath=\"101\"", "swath=\"101\" colour=\"red\"");
  mFolder.file("PANN00A.ctg", test::contents(mFolder / "PANN00A.ctg") + "1");
  KesRun const run =
      kes({"check", mFolder / "strip.stp", "--calibrations", mFolder / "calibration", "--deep", "--json"});
  EXPECT_EQ(run.code, 1);
  json const report = json::parse(run.out);
  EXPECT_EQ(report["name"], "Small");
  EXPECT_EQ(report["file"], mFolder / "strip.stp");
  EXPECT_EQ(report["valid"], false);
  EXPECT_EQ(report["imagesNotDelivered"],
            json::array({{{"band", "PANN00A"}, {"file", mFolder / "images/PANN00A.tif"}}}));
  EXPECT_EQ(report["findings"], json::array({{{"severity", "warning"},
                                              {"file", mFolder / "strip.stp"},
                                              {"line", 4},
                                              {"byte", nullptr},
                                              {"text", "unknown attribute \"colour\" of \"Image\" is left out"}},
                                             {{"severity", "error"},
                                              {"file", mFolder / "PANN00A.ctg"},
                                              {"line", nullptr},
                                              {"byte", 808},
                                              {"text", "a partial record at the end: 1 of 8 bytes"}}}));
}

class KesCheckOfBlock : public test::BlockFolder {
protected:
  static constexpr char const* system = "<CoordinateSystem definition=\"+proj=topocentric +datum=WGS84 +lon_0=-1.4r "
                                        "+lat_0=0.6r +h_0=500 +type=crs\"/>";
  KesRun check(std::string const& block, std::vector<std::string> const& options = {"--deep", "--json"}) const {
    std::vector<std::string> arguments{"check", block, "--calibrations", mFolder / "calibration"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kes(arguments);
  }
};

TEST_F(KesCheckOfBlock, FindingsAreThoseOfTheBlockAndOfEachStrip) {
  std::string const points = mFolder.file("points.gpt", "P1 1 2 3\n");
  std::string const block =
      file("<Weather/>" + twoStrips() + system + "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>");
  mFolder.file("b.stp", "");
  json const report = json::parse(check(block).out);
  EXPECT_EQ(report["valid"], false);
  ASSERT_EQ(report["findings"].size(), 1U);
  EXPECT_EQ(report["findings"][0]["text"], "unknown element \"Weather\" is left out");
  ASSERT_EQ(report["strips"].size(), 2U);
  EXPECT_EQ(report["strips"][0]["name"], "West");
  EXPECT_EQ(report["strips"][0]["valid"], true);
  EXPECT_EQ(report["strips"][1]["file"], mFolder / "b.stp");
  EXPECT_EQ(report["strips"][1]["valid"], false);
}

TEST_F(KesCheckOfBlock, LinesOfGroundPointsAreChecked) {
  std::string const points = mFolder.file("points.gpt", "; a comment\n"
                                                        "P1 1 2 3\n"
                                                        "P1 1,5 2 z\n"
                                                        "P2 1 2\n"
                                                        "\"P3 1 2 3\n"
                                                        "P4 1 2 3 0.1 -0.1 0.1 9\n");
  std::string const block =
      file(twoStrips() + system + "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>");
  EXPECT_EQ(check(block, {"--deep"}).out,
            "warning: " + points + ":3: point \"P1\" stands in line 2, too\n" +  //
                "error: " + points + ":3: x \"1,5\" has a decimal comma: it is read as 0\n" + "error: " + points +
                ":3: z \"z\" isn't a number: it is read as 0\n" + "error: " + points +
                ":4: 2 fields after the id, where 3 or 7 are expected\n" + "error: " + points +
                ":5: the id's quote isn't closed: the line is left out\n" + "warning: " + points +
                ":6: a standard deviation of -0.1\n" + "warning: " + points +
                ":6: the type \"9\" isn't one of 0 to 7\n" + "not delivered: " + (mFolder / "images/PANN00A.tif") +
                ": image of PANN00A\n" + "not delivered: " + (mFolder / "images/PANN00A.tif") + ": image of PANN00A\n");
}

}  // namespace
