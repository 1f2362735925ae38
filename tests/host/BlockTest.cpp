// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <kes/kes.h>
#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESStripModel.h>
#include <util/SkerryIni.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Names = std::vector<std::string>;

constexpr char const* UTM = "<CoordinateSystem definition=\"EPSG:32633\"/>";

/// Strips of a camera that no other test has, whose calibration is in "calibration" below the block's folder.
class Block : public testing::Test {
protected:
  Block() {
    mSmall.sensorId = std::string("Block_") + testing::UnitTest::GetInstance()->current_test_info()->name();
    sensor::CameraFactory::instance()->clearSearchPaths();
  }

  void addStrip(std::string const& file, std::string const& name) const {
    mSmall.write(mFolder);
    std::string text = mSmall.text();
    text.replace(text.find("\"Small\""), 7, "\"" + name + "\"");
    mFolder.file(file, text);
  }
  /// A block file of two strips whose order by name isn't that of their files.
  std::string twoStrips(std::string const& further = "") const {
    addStrip("a.stp", "West");
    addStrip("b.stp", "East");
    return file("<Strips><Strip filename=\"a.stp\"/><Strip filename=\"b.stp\"/></Strips>" + further);
  }
  std::string file(std::string const& elements) const {
    return mFolder.file("block.blf", "<Block version=\"1.0\" name=\"Valley\">" + elements + "</Block>");
  }
  kes::StripOptions options() const {
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    return options;
  }
  static std::string messageOfStrip(kes::Block const& block, std::string_view name) {
    try {
      static_cast<void>(block.strip(name));
    } catch (std::out_of_range const& error) {
      return error.what();
    }
    return "nothing was thrown";
  }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
};

TEST_F(Block, KnowsItsFileItsMapsAndItsStripsByName) {
  std::string const name = twoStrips(UTM);
  kes::Block const block(name, options());
  EXPECT_EQ(block.fileName(), name);
  EXPECT_EQ(block.mapSystem(), kes::CoordinateSystem("EPSG:32633"));
  EXPECT_EQ(block.stripCount(), 2);
  EXPECT_EQ(block.stripNames(), (Names{"East", "West"}));
  EXPECT_TRUE(block.elevationFiles().empty());
}

TEST_F(Block, OpensOneStripByItsName) {
  kes::Block const block(twoStrips(UTM), options());
  kes::Strip const strip = block.strip("West");
  EXPECT_EQ(strip.name(), "West");
  EXPECT_EQ(strip.fileName(), mFolder / "a.stp");
  // Line 50 of 1 m is over x = 50, the middle pixel of 101 straight below.
  EXPECT_NEAR(strip.band(0).toGround(geo::XYPoint(50.0, 50.0), {}).position.x, 50.0, 1e-4);
}

TEST_F(Block, OpensAllStripsInTheOrderOfTheirNames) {
  std::vector<kes::Strip> const strips = kes::Block(twoStrips(UTM), options()).strips();
  ASSERT_EQ(strips.size(), 2U);
  EXPECT_EQ(strips[0].name(), "East");
  EXPECT_EQ(strips[0].fileName(), mFolder / "b.stp");
  EXPECT_EQ(strips[1].name(), "West");
  EXPECT_TRUE(strips[0].isLoaded() && strips[1].isLoaded());
}

TEST_F(Block, LoadsNoStripUntilItIsOpened) {
  kes::Block const block(twoStrips(UTM), options());
  EXPECT_FALSE(block.model().strip("East")->isDataLoaded());
  EXPECT_FALSE(block.model().strip("West")->isDataLoaded());
}

TEST_F(Block, StripsHaveItsOptions) {
  mSmall.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  std::string const name = twoStrips(UTM);
  sensor::EOPData eop(mFolder / "flight.eop", true, false);
  for (int i = 0; i < eop.numSets(); ++i) {
    eop.setStdDevs(i, 0.25F, 0.5F, 0.75F, 0.001F, 0.002F, 0.003F);
  }
  eop.write(mFolder / "flight.eop", 0);
  eop.write(mFolder / "adjusted.eop", 0);
  kes::StripOptions given = options();
  for (auto const orientation : {kes::Orientation::original, kes::Orientation::adjusted}) {
    for (bool const standardDeviations : {false, true}) {
      given.orientation = orientation;
      given.standardDeviations = standardDeviations;
      given.load = false;
      kes::Block const block(name, given);
      EXPECT_EQ(block.model().strip("West")->isUseAdjustedEOP(), orientation == kes::Orientation::adjusted);
      std::vector<kes::Strip> strips = block.strips();
      strips.push_back(block.strip("West"));
      ASSERT_EQ(strips.size(), 3U);
      for (kes::Strip& strip : strips) {
        EXPECT_FALSE(strip.isLoaded());
        strip.load();
        EXPECT_EQ(strip.usesAdjustedOrientation(), orientation == kes::Orientation::adjusted);
        EXPECT_EQ(strip.trajectory().hasStandardDeviations(), standardDeviations);
      }
    }
  }
}

TEST_F(Block, CalibrationFolderOfItsFileServesItsStrips) {
  kes::Block const block(twoStrips(std::string(UTM) + "<Calibration location=\"calibration\"/>"));
  EXPECT_EQ(block.strip("East").camera().folder(),
            mFolder / "calibration/KESA0_Block_CalibrationFolderOfItsFileServesItsStrips/v001");
}

// What was there before keeps its place, whatever the block file repeats, and also when the block can't be opened.
TEST_F(Block, OpenedAgainItDoesntLengthenTheSearchForCalibrations) {
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  factory.addSearchPath("/nowhere/host");
  factory.addSearchPath("/nowhere/host");
  std::string const folders = std::string(UTM) + "<Calibration location=\"calibration\"/>"
                                                 "<Calibration location=\"/nowhere/again\"/>"
                                                 "<Calibration location=\"/nowhere/again\"/>";
  std::string const whole = twoStrips(folders);
  Names const expected{"/nowhere/again", mFolder / "calibration", "/nowhere/host", "/nowhere/host"};
  for (int i = 0; i < 3; ++i) {
    kes::Block const block(whole);
    EXPECT_TRUE(block.strip("East").isLoaded());
    EXPECT_EQ(factory.searchPaths(), expected) << i;
  }
  EXPECT_THROW(kes::Block(file("<Strips><Strip filename=\"none.stp\"/></Strips>" + folders)), std::runtime_error);
  EXPECT_EQ(factory.searchPaths(), expected);
}

// The folder of the settings is the last one to be searched, and isn't added twice, either. Where the host has changed
// the settings meanwhile, no folder is lost.
TEST_F(Block, OpenedAgainWithASettingsFileItDoesntLengthenTheSearchForCalibrations) {
  kes::StripOptions given;
  given.settings = mFolder.file("settings.ini", "[Calibrations]\nlocation=/nowhere/settings\n");
  std::string const whole = twoStrips(std::string(UTM) + "<Calibration location=\"calibration\"/>");
  Names const expected{mFolder / "calibration", "/nowhere/settings"};
  kes::Block const first(whole, given);
  EXPECT_EQ(sensor::CameraFactory::instance()->searchPaths(), expected);
  kes::Block const second(whole);
  EXPECT_EQ(sensor::CameraFactory::instance()->searchPaths(), expected);
  util::setSkerryIni(mFolder.file("other.ini", "[Calibrations]\nlocation=/nowhere/other\n"));
  kes::Block const third(whole);
  EXPECT_EQ(sensor::CameraFactory::instance()->searchPaths(),
            (Names{mFolder / "calibration", "/nowhere/settings", "/nowhere/other"}));
  util::setSkerryIni(mFolder / "none.ini");
  sensor::CameraFactory::instance()->clearSearchPaths();
}

// A settings file makes each strip forget the folders of earlier ones.
TEST_F(Block, CalibrationFoldersOfItsFileServeItsStripsWithASettingsFileToo) {
  kes::StripOptions given;
  given.settings = mFolder.file("settings.ini", "[Calibrations]\nlocation=/nowhere/settings\n");
  given.calibrations = {"/nowhere/options"};
  {
    kes::Block const block(
        twoStrips(std::string(UTM) +
                  "<Calibration location=\"calibration\"/><Calibration location=\"/nowhere/last\"/>"),
        given);
    EXPECT_TRUE(block.strip("East").isLoaded());
    EXPECT_EQ(sensor::CameraFactory::instance()->searchPaths(),
              (Names{"/nowhere/last", mFolder / "calibration", "/nowhere/options", "/nowhere/settings"}));
  }
  util::setSkerryIni(mFolder / "none.ini");
  sensor::CameraFactory::instance()->clearSearchPaths();
}

TEST_F(Block, UnknownStripIsRefusedWithTheKnownOnes) {
  kes::Block const block(twoStrips(UTM), options());
  EXPECT_EQ(messageOfStrip(block, "North"), "block has no strip \"North\"; it has East, West");
  EXPECT_EQ(messageOfStrip(block, "east"), "block has no strip \"east\"; it has East, West");
  EXPECT_EQ(messageOfStrip(block, ""), "block has no strip \"\"; it has East, West");
}

TEST_F(Block, WithoutStripsItSaysSo) {
  kes::Block const block(file(UTM));
  EXPECT_EQ(block.stripCount(), 0);
  EXPECT_TRUE(block.strips().empty());
  EXPECT_EQ(messageOfStrip(block, "East"), "block has no strip \"East\"; it has none");
}

TEST_F(Block, OfTwoStripsOfOneNameTheFirstIsKept) {
  addStrip("a.stp", "West");
  addStrip("b.stp", "West");
  kes::Block const block(
      file("<Strips><Strip filename=\"a.stp\"/><Strip filename=\"b.stp\"/></Strips>" + std::string(UTM)), options());
  EXPECT_EQ(block.stripNames(), Names{"West"});
  EXPECT_EQ(block.strip("West").fileName(), mFolder / "a.stp");
}

TEST_F(Block, FileThatCantBeReadIsTheLibrarysError) {
  EXPECT_MESSAGE(kes::Block(mFolder / "none.blf"),
                 "BlockModelData::readFromFile : error opening block file:" + (mFolder / "none.blf"));
  EXPECT_MESSAGE(kes::Block(mFolder.file("other.blf", "<Blocks/>")),
                 "BlockModelData::readFromFile : wrong file format: expected \"Block\" but saw \"Blocks\"");
  std::string const withoutMaps = file("");
  EXPECT_MESSAGE(kes::Block{withoutMaps},
                 "Error parsing \"" + withoutMaps + "\": no element \"CoordinateSystem\" found.");
  EXPECT_MESSAGE(kes::Block(file(std::string(UTM) + "<Strips><Strip filename=\"none.stp\"/></Strips>")),
                 " Take \"" + (mFolder / "none.stp") +
                     "\" could not be created: Error opening strip file:" + (mFolder / "none.stp"));
}

TEST_F(Block, StripFileThatIsGoneIsRefusedWhenItIsOpened) {
  kes::Block const block(twoStrips(UTM), options());
  ASSERT_EQ(std::remove((mFolder / "a.stp").c_str()), 0);
  EXPECT_EQ(block.strip("East").name(), "East");
  EXPECT_MESSAGE(static_cast<void>(block.strip("West")), "Error opening strip file:" + (mFolder / "a.stp"));
}

TEST_F(Block, ElevationFilesAreBelowItsFolder) {
  kes::Block const block(
      file(std::string(UTM) + "<Models><DSM filename=\"dem/b.tif\"/><DSM filename=\"/data/a.tif\"/></Models>"));
  EXPECT_EQ(block.elevationFiles(), (Names{mFolder / "dem/b.tif", "/data/a.tif"}));
}

TEST_F(Block, Moves) {
  kes::Block first(twoStrips(UTM), options());
  kes::Block second = std::move(first);
  EXPECT_EQ(second.strip("East").name(), "East");
  first = std::move(second);
  EXPECT_EQ(first.stripNames(), (Names{"East", "West"}));
}

}  // namespace
