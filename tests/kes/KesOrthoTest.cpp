// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "gdal/MosaicSupport.h"
#include "support/Matchers.h"

#include <cmath>
#include <filesystem>
#include <map>

// The command `ortho`. What an orthophoto shows is tested with the library below it.

namespace {

using test::kes;
using test::KesRun;
using testing::HasSubstr;
using testing::StartsWith;

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
    return kes(arguments);
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
    return kes(arguments);
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
  std::string const expected = mFlights.bytes(plan, mFlights.strips());
  EXPECT_TRUE(fileOf({mFirst, mSecond}) == expected);
  EXPECT_TRUE(fileOf({mBlock}) == expected);
  EXPECT_FALSE(fileOf({mSecond}) == expected);
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

TEST_F(KesOrtho, WrongUsageGivesTwo) {
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
