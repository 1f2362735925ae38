// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "platform/ElevationSupport.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"

#include <nlohmann/json.hpp>

// `kes block`, and the commands that take a block for its strips.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

// The frame of the small strips.
constexpr char const* local = "+proj=topocentric +datum=WGS84 +lon_0=-1.4r +lat_0=0.6r +h_0=500 +type=crs";

class KesBlock : public test::BlockFolder {
protected:
  KesRun run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--calibrations", mFolder / "calibration"});
    return kes(arguments);
  }
  std::string blockOf(std::string const& elements) const {
    return file(elements + "<CoordinateSystem definition=\"" + local + "\"/>");
  }
  std::string block() const { return blockOf(twoStrips()); }
};

using KesBlockInfo = KesBlock;
using KesBlockCreate = KesBlock;
using KesBlockCheck = KesBlock;
using KesOnBlock = KesBlock;

TEST_F(KesBlockInfo, JsonHasAllOfTheBlock) {
  mFolder.file("points.gpt", "A 1 2 3\nB 1 2 3\n");
  std::string const name = blockOf("<Description>Two flights</Description>" + twoStrips() +
                                   "<Models><DSM filename=\"dem.tif\"/></Models>"
                                   "<ReferenceImages><Image filename=\"/data/ortho.tif\"/></ReferenceImages>"
                                   "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>");
  KesRun const result = run({"block", "info", name, "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  json const info = json::parse(result.out);
  EXPECT_EQ(info["name"], "Valley");
  EXPECT_EQ(info["file"], name);
  EXPECT_EQ(info["description"], "Two flights");
  EXPECT_EQ(info["dataPath"], mFolder.path());
  EXPECT_THAT(info["coordinateSystem"].get<std::string>(), HasSubstr("topocentric"));
  EXPECT_EQ(info["elevationModels"], json::array({mFolder / "dem.tif"}));
  EXPECT_EQ(info["referenceImages"], json::array({"/data/ortho.tif"}));
  EXPECT_EQ(info["groundPoints"], (json{{"file", "points.gpt"}, {"coordinateSystem", nullptr}, {"points", 2}}));
  ASSERT_EQ(info["strips"].size(), 2U);
  json const& east = info["strips"][0];
  EXPECT_EQ(east["name"], "East");
  EXPECT_EQ(east["file"], mFolder / "b.stp");
  EXPECT_EQ(east["camera"], (json{{"type", "KESA0"}, {"sensorId", mStrip.sensorId}, {"version", "v001"}}));
  EXPECT_EQ(east["eop"], (json{{"file", mFolder / "flight.eop"}, {"adjusted", false}}));
  EXPECT_EQ(east["bands"], json::array({"PANN00A"}));
  EXPECT_EQ(info["strips"][1]["name"], "West");
}

TEST_F(KesBlockInfo, GroundPointsThatCantBeReadHaveNoNumber) {
  std::string const name = blockOf("<GroundControls><GCP filename=\"none.gpt\"/></GroundControls>");
  EXPECT_EQ(json::parse(kes({"block", "info", name, "--json"}).out)["groundPoints"]["points"], nullptr);
  EXPECT_THAT(kes({"block", "info", name}).out, HasSubstr("ground points:      none.gpt, can't be read\n"));
}

TEST_F(KesBlockInfo, TextListsTheStrips) {
  std::string const out = run({"block", "info", block()}).out;
  EXPECT_THAT(out, HasSubstr("block:              Valley\n"));
  EXPECT_THAT(out, HasSubstr("ground points:      none\n"));
  EXPECT_LT(out.find("\nEast "), out.find("\nWest "));
  EXPECT_THAT(out, HasSubstr("PANN00A"));
}

TEST_F(KesBlockInfo, NoBlockIsAnError) {
  KesRun const result = kes({"block", "info", mFolder / "none.blf"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err,
            "kes: error: BlockModelData::readFromFile : error opening block file:" + (mFolder / "none.blf") + "\n");
}

TEST_F(KesBlockCreate, WrittenBlockHasEverythingAndReadsBack) {
  std::string const a = addStrip("flights/a.stp", "West");
  std::string const dem = mFolder.file("dem.tif", "");
  std::string const points = mFolder.file("control/points.gpt", "P1 1 2 3\n");
  mFolder.file("flights/PANN00A.ctg", test::contents(mFolder / "PANN00A.ctg"));
  mFolder.file("flights/flight.eop", test::contents(mFolder / "flight.eop"));
  mFolder.folder("flights/raw");
  mFolder.folder("flights/images");
  std::string const out = mFolder / "new.blf";
  KesRun const result = run({"block", "create", out, a, "--crs", "EPSG:32633", "--dem", dem, "--reference", dem,
                             "--points", points, "--description", "One flight"});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(test::contents(out), HasSubstr("<Strip filename=\"flights/a.stp\""));
  EXPECT_THAT(test::contents(out), HasSubstr("<GCP filename=\"control/points.gpt\""));
  EXPECT_EQ(test::contents(points), "P1 1 2 3\n");
  sensor::BlockModelData const read(out, true, false, false);
  EXPECT_EQ(read.displayName(), "new");
  EXPECT_EQ(read.description(), "One flight");
  EXPECT_EQ(read.coordSys()->definition(), "EPSG:32633");
  EXPECT_EQ(read.elevationSourceNames(), std::vector<std::string>{dem});
  EXPECT_EQ(read.referenceImageNames(), std::vector<std::string>{dem});
  EXPECT_EQ(read.groundPoints().numPoints(), 1);
  EXPECT_NE(read.strip("West"), nullptr);
}

TEST_F(KesBlockCreate, TwoStripsOfOneNameAreRefused) {
  std::string const a = addStrip("a.stp", "West");
  std::string const b = addStrip("b.stp", "West");
  KesRun const result = run({"block", "create", mFolder / "new.blf", a, b, "--crs", "EPSG:32633"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "kes: error: strips " + a + " and " + b + " are both named \"West\"\n");
  EXPECT_FALSE(test::exists(mFolder / "new.blf"));
}

TEST_F(KesBlockCreate, FileWithoutGroundPointsIsRefused) {
  std::string const a = addStrip("a.stp", "West");
  std::string const points = mFolder.file("points.gpt", "; none\n");
  KesRun const result = run({"block", "create", mFolder / "new.blf", a, "--crs", "EPSG:32633", "--points", points});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "kes: error: no ground points in " + points + "\n");
}

TEST_F(KesBlockCreate, OtherExtensionsAndUnknownSystemsAreRefused) {
  std::string const a = addStrip("a.stp", "West");
  EXPECT_EQ(run({"block", "create", mFolder / "new.xml", a, "--crs", "EPSG:32633"}).code, 2);
  KesRun const result = run({"block", "create", mFolder / "new.blf", a, "--crs", "EPSG:0"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.err, testing::StartsWith("kes: error: Can't create coordinate system \"EPSG:0\": "));
}

TEST_F(KesBlockCreate, NameIsMoreThanAnExtension) {
  std::string const a = addStrip("a.stp", "West");
  for (std::string const& name : {std::string(".blf"), mFolder / ".blf"}) {
    KesRun const result = run({"block", "create", name, a, "--crs", "EPSG:32633"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("\"" + name + "\" isn't a name that ends in .blf"));
  }
}

// A reader of the block refuses such a system, too.
TEST_F(KesBlockCreate, SystemThatNamesAFileIsRefused) {
  std::string const a = addStrip("a.stp", "West");
  std::string const crs = "+proj=longlat +datum=WGS84 +geoidgrids=" + (mFolder / "geoid.gtx") + " +type=crs";
  std::string const out = mFolder / "new.blf";
  KesRun const result = run({"block", "create", out, a, "--crs", crs});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "kes: error: Can't create coordinate system \"" + crs +
                            "\": a definition in a file must not name other files by a path\n");
  EXPECT_FALSE(test::exists(out));
}

TEST_F(KesBlockCheck, WholeBlockIsValid) {
  mFolder.file("points.gpt", "P1 1 2 3\n");
  KesRun const result =
      run({"block", "check", blockOf(twoStrips() + "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>")});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "valid\n");
}

TEST_F(KesBlockCheck, EveryMissingFileIsNamed) {
  std::string const name = blockOf(twoStrips() + "<Models><DSM filename=\"dem.tif\"/></Models>"
                                                 "<ReferenceImages><Image filename=\"ortho.tif\"/></ReferenceImages>"
                                                 "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>");
  KesRun const result = run({"block", "check", name, "--images"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.out, HasSubstr("Ground points: points.gpt can't be read!\n"));
  EXPECT_THAT(result.out, HasSubstr("Elevation model: "));
  EXPECT_THAT(result.out,
              HasSubstr("Reference image: " + (mFolder / "ortho.tif") + " can't be read: No such file or directory\n"));
  for (std::string const strip : {"East", "West"}) {
    std::string const file = mFolder / (strip == "East" ? "b.stp" : "a.stp");
    EXPECT_THAT(result.out,
                HasSubstr("error: " + file + ":4: Image: " + (mFolder / "images/PANN00A.tif") + " doesn't exist!\n"));
  }
}

TEST_F(KesBlockCheck, HiddenStripsAndUnknownPointsAreSuspicious) {
  addStrip("a.stp", "West");
  addStrip("b.stp", "West");
  mFolder.file("PANN00A.ipt", "\"P9\" 1 2 0.1 0.1 1\n");
  KesRun const result =
      run({"block", "check", blockOf("<Strips><Strip filename=\"a.stp\"/><Strip filename=\"b.stp\"/></Strips>")});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "warning: " + (mFolder / "block.blf") + ": the block has no ground points\n" +  //
                "error: " + (mFolder / "block.blf") + ":1: strip " + (mFolder / "b.stp") +
                " is named \"West\", as is " + (mFolder / "a.stp") + ": one of them is left out\n" +
                "warning: " + (mFolder / "a.stp") + ": PANN00A: point \"P9\" isn't among the ground points\n" +  //
                "warning: " + (mFolder / "b.stp") + ": PANN00A: point \"P9\" isn't among the ground points\n");
}

TEST_F(KesBlockCheck, SystemThatDoesntReachTheStripsIsNamed) {
  // A gnomonic map shows no more than the half of the Earth around its middle, here the strips' antipode.
  std::string const system = "+proj=gnom +lat_0=-34.4 +lon_0=99.8 +datum=WGS84 +type=crs";
  KesRun const result =
      run({"block", "check", file(twoStrips() + "<CoordinateSystem definition=\"" + system + "\"/>")});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.out, HasSubstr("b.stp: the block's coordinate system doesn't reach as far\n"));
}

TEST_F(KesOnBlock, MeasuresAreThoseOfEachStripInTheBlocksSystem) {
  KesRun const result = run({"measures", block(), "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  json const strips = json::parse(result.out)["strips"];
  ASSERT_EQ(strips.size(), 2U);
  EXPECT_EQ(strips[0]["name"], "East");
  EXPECT_THAT(strips[0]["mapping"]["crs"].get<std::string>(), HasSubstr("topocentric"));
  // A pixel of 0.1 mm from 1000 m at 50 mm.
  EXPECT_NEAR(strips[1]["bands"][0]["mappingGsd"].get<double>(), 2.0, 1e-5);
  KesRun const other = run({"measures", block(), "--crs", "EPSG:4979", "--json"});
  EXPECT_EQ(json::parse(other.out)["strips"][0]["mapping"]["crs"], "EPSG:4979");
}

TEST_F(KesOnBlock, ClosureIsThatOfAllStrips) {
  KesRun const result = run({"closure", block(), "--grid", "3", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  json const closure = json::parse(result.out);
  EXPECT_EQ(closure["tolerance"], 0.1);
  ASSERT_EQ(closure["strips"].size(), 2U);
  EXPECT_EQ(closure["strips"][1]["name"], "West");
  EXPECT_EQ(closure["strips"][1]["bands"][0]["points"], 36);
}

TEST_F(KesOnBlock, BandOfNoStripIsAnErrorAndOfOneIsNot) {
  std::string const a = addStrip("a.stp", "West");
  mStrip.bands.push_back({"PANF27A", 10.0});
  std::string const b = addStrip("b.stp", "East");
  KesRun const some = run({"closure", a, b, "--grid", "3", "--band", "PANF27A", "--json"});
  ASSERT_EQ(some.code, 0) << some.err;
  json const strips = json::parse(some.out)["strips"];
  EXPECT_EQ(strips[0]["bands"].size(), 0U);
  EXPECT_EQ(strips[1]["bands"].size(), 1U);
  KesRun const none = run({"closure", a, b, "--band", "NIRX"});
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.err, "kes: error: no band \"NIRX\" in the strips, which have PANF27A, PANN00A\n");
}

// Some of the terrain lies under the strip of 100 m by 200 m: 60 m of its length.
TEST_F(KesOnBlock, FootprintEndsWithTheElevationModel) {
  test::ElevationRaster raster;
  constexpr double metresPerLongitude = 92000.0;
  double const longitude = -1.4 * 57.29577951308232;
  double const latitude = 0.6 * 57.29577951308232;
  raster.geoTransform = {longitude - 0.02, (0.02 + 60.0 / metresPerLongitude) / 5.0, 0.0, latitude + 0.05, 0.0, -0.025};
  raster.system = "EPSG:4326";
  raster.values.assign(20, 500.0);
  std::string const out = mFolder / "footprints.geojson";
  std::string const strip = addStrip("a.stp", "West");
  KesRun const result = test::kesBesidesDatum({"footprint", strip, "--dem", raster.write(mFolder), "-o", out});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.err, testing::ContainsRegex("^kes: warning: " + strip +
                                                 ": PANN00A: [0-9]+ of 257 points of the outline have no place on the "
                                                 "elevation model, the first at sample 100.5, line [0-9.]+ "
                                                 ".noSurface.: they are left out\n"));
  json const feature = json::parse(test::contents(out))["features"][0];
  EXPECT_EQ(feature["properties"]["complete"], 0.0);
  EXPECT_NEAR(feature["properties"]["look"].get<double>(), 0.0, 1e-6);
  json const ring = feature["geometry"]["coordinates"][0];
  EXPECT_EQ(ring.front(), ring.back());
  double east = -1e9;
  for (json const& point : ring) {
    east = std::max(east, (point[0].get<double>() - longitude) * metresPerLongitude);
  }
  // The height ends half a cell from the edge.
  EXPECT_LT(east, 62.0);
}

TEST_F(KesOnBlock, FootprintBesideTheElevationModelIsAFailure) {
  test::ElevationRaster raster;
  raster.geoTransform = {10.0, 0.1, 0.0, 10.0, 0.0, -0.1};
  raster.system = "EPSG:4326";
  raster.values.assign(20, 500.0);
  KesRun const result = run({"footprint", block(), "--dem", raster.write(mFolder), "-o", mFolder / "f.geojson"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.err, testing::EndsWith("(noSurface): the footprint is left out\n"
                                            "kes: error: no footprint lies on the elevation model\n"));
}

TEST_F(KesOnBlock, FootprintsOfAllStripsAreInOneFile) {
  test::ElevationRaster raster;
  double const longitude = -1.4 * 57.29577951308232;
  double const latitude = 0.6 * 57.29577951308232;
  raster.geoTransform = {longitude - 0.05, 0.02, 0.0, latitude + 0.05, 0.0, -0.025};
  raster.system = "EPSG:4326";
  raster.values.assign(20, 500.0);
  std::string const out = mFolder / "footprints.geojson";
  KesRun const result = run({"footprint", block(), "--dem", raster.write(mFolder), "-o", out});
  ASSERT_EQ(result.code, 0) << result.err;
  json const features = json::parse(test::contents(out))["features"];
  ASSERT_EQ(features.size(), 2U);
  EXPECT_EQ(features[0]["properties"]["strip"], "East");
  EXPECT_EQ(features[1]["properties"]["strip"], "West");
}

}  // namespace
