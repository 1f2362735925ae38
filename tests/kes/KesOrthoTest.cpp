// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "gdal/MosaicSupport.h"
#include "support/Matchers.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>

// The command `ortho`. What an orthophoto shows is tested with the library below it.

namespace {

using kesgdal::Extent;
using test::kesBesidesDatum;
using test::KesRun;
using testing::HasSubstr;
using testing::StartsWith;

std::string text(double value) {
  std::array<char, 40> digits{};
  std::snprintf(digits.data(), digits.size(), "%.17g", value);
  return digits.data();
}

class KesOrtho : public testing::Test {
protected:
  KesOrtho() { mFlight.writePositions(); }

  // Options take the place of those of the same name in a command that works; an empty value takes one out.
  KesRun ortho(std::map<std::string, std::string> const& changed = {},
               std::vector<std::string> const& more = {}) const {
    std::map<std::string, std::string> options = {{"--calibrations", mFlight.folder / "calibration"},
                                                  {"--band", "PANN00A"},
                                                  {"--dem", mFlight.terrain->fileName()},
                                                  {"--crs", "EPSG:32617"},
                                                  {"--gsd", "2"},
                                                  {"--nodata", "-1"},
                                                  {"--orientation", "original"},
                                                  {"-o", mOutput}};
    for (auto const& [name, value] : changed) {
      options[name] = value;
    }
    std::vector<std::string> arguments{"ortho", mFlight.folder / "strip.stp"};
    for (auto const& [name, value] : options) {
      if (!value.empty()) {
        arguments.push_back(name);
        arguments.push_back(value);
      }
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    return kesBesidesDatum(arguments);
  }

  // The run fails with a message, and leaves nothing.
  void expectFailure(std::map<std::string, std::string> const& changed,
                     testing::Matcher<std::string> const& message) const {
    KesRun const run = ortho(changed);
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, message);
    EXPECT_EQ(run.out, "");
    EXPECT_FALSE(test::exists(mOutput));
  }

  test::OrthoFlight mFlight{0.4};
  std::string mOutput = mFlight.folder / "ortho.tif";
};

TEST_F(KesOrtho, BandsBecomeTheBandsOfOneFile) {
  KesRun const run = ortho({}, {"--band", "PANN00B", "--threads", "2", "--resampling", "bilinear"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "");
  test::Raster const raster(mOutput);
  EXPECT_EQ(raster.descriptions, (std::vector<std::string>{"PANN00A", "PANN00B"}));
  EXPECT_EQ(raster.epsg, 32617);
  EXPECT_EQ(raster.noData, -1.0);
  EXPECT_EQ(raster.geoTransform[1], 2.0);
  int const column = raster.columns / 2;
  int const row = raster.rows / 2;
  geo::XYPoint const image = mFlight.image(*mFlight.ground(raster.centre(column, row)));
  EXPECT_NEAR(raster.at(column, row, 1), 100.0 + image.x, 0.002);
  EXPECT_NEAR(raster.at(column, row, 2), 100.0 + image.y, 0.01);
}

TEST_F(KesOrtho, ResamplingsAreKnown) {
  for (char const* name : {"nearest", "bilinear", "cubic"}) {
    EXPECT_EQ(ortho({{"--resampling", name}}).code, 0) << name;
  }
  test::Raster const cubic(mOutput);
  ASSERT_EQ(ortho({{"--resampling", "nearest"}}).code, 0);
  test::Raster const nearest(mOutput);
  double const value = nearest.at(nearest.columns / 2, nearest.rows / 2);
  EXPECT_EQ(value, std::round(value));
  EXPECT_NE(cubic.at(cubic.columns / 2, cubic.rows / 2), value);
}

TEST_F(KesOrtho, OriginalOrientationInPlaceOfAMissingOneIsReported) {
  KesRun const run = ortho({{"--orientation", ""}});
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: strip \"Small\" has no adjusted orientation: the original one is used\n");
}

// The original orientation lies 10 m further east: what it shows at a place was seen 10 lines cos(0.4) before.
TEST_F(KesOrtho, OrientationIsChosen) {
  mFlight.small.writeEop(mFlight.folder, "shifted.eop", 10.0);
  std::string text = test::contents(mFlight.folder / "strip.stp");
  std::string const element = "<EOP filename=\"flight.eop\"/>";
  text.replace(text.find(element), element.size(), "<EOP filename=\"shifted.eop\" filename_adjusted=\"flight.eop\"/>");
  mFlight.folder.file("strip.stp", text);
  for (auto const& [orientation, shift] : {std::pair("adjusted", 0.0), std::pair("original", 10.0)}) {
    KesRun const run = ortho({{"--orientation", orientation}, {"--band", "PANN00B"}});
    ASSERT_EQ(run.code, 0) << run.err;
    test::Raster const raster(mOutput);
    int const column = raster.columns / 2;
    int const row = raster.rows / 2;
    geo::XYZPoint ground = *mFlight.ground(raster.centre(column, row));
    ground.x -= shift;
    EXPECT_NEAR(raster.at(column, row), 100.0 + mFlight.image(ground).y, 0.01) << orientation;
  }
}

// Two strips that overlap, and a block of them, in which "Earlier" comes before "Later".
class KesOrthoOfTwo : public testing::Test {
protected:
  KesOrthoOfTwo() {
    rename(mFlights.first, "Earlier");
    rename(mFlights.second, "Later");
    mBlock = mFlights.first.folder.file("block.blf",
                                        "<Block version=\"1.0\" name=\"Valley\"><Strips><Strip filename=\"" + mSecond +
                                            "\"/><Strip filename=\"" + mFirst +
                                            "\"/></Strips><CoordinateSystem definition=\"EPSG:32633\"/></Block>");
  }

  static void rename(test::OrthoFlight const& flight, std::string const& name) {
    std::string text = test::contents(flight.folder / "strip.stp");
    text.replace(text.find("\"Small\""), 7, "\"" + name + "\"");
    flight.folder.file("strip.stp", text);
  }

  KesRun ortho(std::vector<std::string> arguments, std::string const& band = "PANN00A") const {
    arguments.insert(arguments.begin(), "ortho");
    arguments.insert(arguments.end(), {"--calibrations", mFlights.first.folder / "calibration", "--band", band, "--dem",
                                       mFlights.first.terrain->fileName(), "--crs", "EPSG:32617", "--gsd", "1.5",
                                       "--nodata", "-1", "--orientation", "original", "-o", mFlights.output()});
    return kesBesidesDatum(arguments);
  }
  std::string fileOf(std::vector<std::string> const& arguments) const {
    KesRun const run = ortho(arguments);
    EXPECT_EQ(run.code, 0) << run.err;
    return test::contents(mFlights.output());
  }

  test::TwoFlights mFlights;
  std::string mFirst = mFlights.first.folder / "strip.stp";
  std::string mSecond = mFlights.second.folder / "strip.stp";
  std::string mBlock;
};

TEST_F(KesOrthoOfTwo, StripsAndTheirBlockGiveTheSameFile) {
  kesgdal::OrthoPlan plan = mFlights.first.plan(1.5);
  plan.bands = {"PANN00A"};
  plan.hasRecord = false;  // which names this process's cameras
  std::string const expected = mFlights.bytes(plan, mFlights.strips());
  EXPECT_TRUE(fileOf({mFirst, mSecond, "--no-record"}) == expected);
  EXPECT_TRUE(fileOf({mBlock, "--no-record"}) == expected);
  EXPECT_TRUE(fileOf({mBlock, "--no-record", "--strip-limit", "1"}) == expected);
  EXPECT_TRUE(fileOf({mBlock, "--no-record", "--strip-limit", "2"}) == expected);
  EXPECT_FALSE(fileOf({mSecond, "--no-record"}) == expected);
  EXPECT_TRUE(fileOf({mFirst, mSecond}) == fileOf({mBlock}));
}

TEST_F(KesOrthoOfTwo, BandThatNoneHasIsNamed) {
  KesRun const run = ortho({mBlock}, "PANF27A");
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: no band \"PANF27A\" in the strips, which have PANN00A, PANN00B\n");
  EXPECT_FALSE(test::exists(mFlights.output()));
}

TEST_F(KesOrthoOfTwo, ImageThatTheSecondLacksIsNamed) {
  std::filesystem::remove(mFlights.second.imageName("PANN00A"));
  KesRun const run = ortho({mBlock});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, StartsWith("kes: error: image of band PANN00A: can't open " +
                                  mFlights.second.imageName("PANN00A") + ": "));
  EXPECT_FALSE(test::exists(mFlights.output()));
}

// Options of the place and the pixels: the file is that of the plan in the library.
TEST_F(KesOrtho, OptionsMakeThePlan) {
  std::string const name = mFlight.folder / "plan.tif";
  geo::XYPoint const centre = mFlight.mapOf({100.0, 40.0, 0.0});
  kesgdal::OrthoPlan plan = mFlight.plan(2.0);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  plan.extent = {{std::floor(centre.x) - 40.5, std::floor(centre.y) - 50.5},
                 {std::floor(centre.x) + 40.0, std::floor(centre.y) + 30.0}};
  plan.cut = mFlight.folder.file(
      "cut.csv", "id,WKT\n1,\"POLYGON((" + std::to_string(centre.x - 500.0) + " " + std::to_string(centre.y - 500.0) +
                     "," + std::to_string(centre.x) + " " + std::to_string(centre.y + 500.0) + "," +
                     std::to_string(centre.x + 500.0) + " " + std::to_string(centre.y - 500.0) + "))\"\n");
  plan.type = kesgdal::PixelType::BYTE;
  plan.scale = kesgdal::BrightnessRange{90.0, 210.5};
  plan.format = kesgdal::FileFormat::GTIFF;
  plan.creationOptions = {"COMPRESS=LZW", "INTERLEAVE=BAND"};
  plan.hasRecord = false;  // which names this process's cameras
  kesgdal::writeOrthophoto(*mFlight.strip, mFlight.map, *mFlight.terrain, plan, name);
  Extent const& box = *plan.extent;
  KesRun const run =
      ortho({{"--nodata", "0"}}, {"--extent", text(box.low.x), text(box.low.y), text(box.high.x), text(box.high.y),
                                  "--cut", plan.cut, "--type", "Byte", "--scale", "90", "210.5", "--format", "GTiff",
                                  "--co", "COMPRESS=LZW", "--co", "INTERLEAVE=BAND", "--no-record"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_TRUE(test::contents(mOutput) == test::contents(name));
}

TEST_F(KesOrtho, RasterGivesPixelsAndSystem) {
  geo::XYPoint const centre = mFlight.mapOf({100.0, 40.0, 0.0});
  test::ElevationRaster raster;
  raster.system = "EPSG:32617";
  raster.columns = 31;
  raster.rows = 22;
  raster.geoTransform = {centre.x - 20.3, 1.7, 0.0, centre.y + 20.9, 0.0, -1.7};
  raster.fill([](int, int) { return 0.0; });
  std::string const like = raster.write(mFlight.folder, "like.tif");
  KesRun const run = ortho({{"--crs", ""}, {"--gsd", ""}, {"--like", like}});
  ASSERT_EQ(run.code, 0) << run.err;
  test::Raster const made(mOutput);
  EXPECT_EQ(made.geoTransform, raster.geoTransform);
  EXPECT_EQ(made.columns, 31);
  EXPECT_EQ(made.rows, 22);
  EXPECT_EQ(made.epsg, 32617);
  geo::XYPoint const image = mFlight.image(*mFlight.ground(made.centre(5, 8)));
  EXPECT_NEAR(made.at(5, 8), 100.0 + image.x, 0.002);
  for (auto const& [name, value] : {std::pair("--crs", "EPSG:32617"), std::pair("--gsd", "2")}) {
    KesRun const both = ortho({{"--crs", ""}, {"--gsd", ""}, {"--like", like}}, {name, value});
    EXPECT_EQ(both.code, 2);
    EXPECT_THAT(both.err, HasSubstr(std::string(name) + " excludes --like"));
  }
}

TEST_F(KesOrtho, RecordIsLeftOutOnRequest) {
  ASSERT_EQ(ortho({}).code, 0);
  EXPECT_THAT(test::contents(mOutput), HasSubstr("KES_CLOSURE_MAX_PX"));
  ASSERT_EQ(ortho({}, {"--no-record"}).code, 0);
  EXPECT_THAT(test::contents(mOutput), testing::Not(HasSubstr("KES_")));
}

TEST_F(KesOrtho, NameThatIsNoTiffIsRefusedWithWhatIsPossible) {
  std::string const name = mFlight.folder / "ortho.png";
  KesRun const run = ortho({{"-o", name}});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, HasSubstr(name + " doesn't end in .tif or .tiff: orthophotos are GeoTIFF files, see --format"));
  EXPECT_FALSE(test::exists(name));
}

TEST_F(KesOrtho, ReadFilesAreNotWrittenOver) {
  std::string const cut = mFlight.folder.file("cut.tif", "WKT\n");
  KesRun const run = ortho({{"-o", cut}, {"--cut", cut}});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: can't write " + cut + ": it is read, too\n");
}

TEST_F(KesOrtho, WrongUsageGivesTwo) {
  EXPECT_EQ(ortho({}, {"--extent", "1", "2", "3"}).code, 2);
  EXPECT_EQ(ortho({}, {"--scale", "1"}).code, 2);
  EXPECT_EQ(ortho({{"--type", "byte"}}).code, 2);
  EXPECT_EQ(ortho({{"--format", "PNG"}}).code, 2);
  EXPECT_EQ(ortho({{"--strip-limit", "0"}}).code, 2);
  EXPECT_EQ(ortho({{"--cut", mFlight.folder / "none.gpkg"}}).code, 2);
  EXPECT_EQ(ortho({{"--resampling", "lanczos"}}).code, 2);
  EXPECT_EQ(ortho({{"--orientation", "best"}}).code, 2);
  EXPECT_EQ(ortho({{"--threads", "0"}}).code, 2);
  EXPECT_EQ(ortho({{"--gsd", "fine"}}).code, 2);
  for (char const* name : {"--band", "--dem", "--crs", "--gsd", "-o"}) {
    EXPECT_EQ(ortho({{name, ""}}).code, 2) << name;
  }
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(KesOrtho, WhatIsWrongIsNamed) {
  expectFailure({{"--band", "PANF27A"}}, "kes: error: no band \"PANF27A\" in the strip, which has PANN00A, PANN00B\n");
  expectFailure({{"--crs", "EPSG:1"}}, StartsWith("kes: error: Can't create coordinate system \"EPSG:1\": "));
  expectFailure({{"--crs", "+proj=utm +zone=17 +ellps=WGS84 +nadgrids=none-such.gsb +type=crs"}},
                HasSubstr("none-such.gsb"));
  expectFailure({{"--crs", "EPSG:4978"}},
                "kes: error: coordinate system \"EPSG:4978\" is neither projected nor geographic\n");
  std::string const none = mFlight.folder / "none.tif";
  expectFailure({{"--dem", none}}, StartsWith("kes: error: Can't open elevation model \"" + none + "\": "));
  expectFailure({{"--gsd", "0"}}, "kes: error: ground sampling distance of 0 m isn't above 0\n");
  expectFailure({{"--gsd", "-2.5"}}, "kes: error: ground sampling distance of -2.5 m isn't above 0\n");
  expectFailure({{"--gsd", "0.00001"}}, "kes: error: ground sampling distance of 1e-05 m isn't between 0.01 and 1024 "
                                        "times that of the image of band PANN00A, 2 m\n");
  expectFailure({{"-o", mFlight.folder / "none/o.tif"}},
                "kes: error: can't write " + (mFlight.folder / "none/o.tif") + ": No such file or directory\n");
}

TEST_F(KesOrtho, StripWithoutItsImageIsNamed) {
  std::filesystem::remove(mFlight.imageName("PANN00A"));
  expectFailure({}, StartsWith("kes: error: image of band PANN00A: can't open " + mFlight.imageName("PANN00A") + ": "));
}

}  // namespace
