// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/BlockFolder.h"

#include <geo/units.h>
#include <sensor/EOPData.h>

#include <filesystem>

namespace {

using sensor::BlockModelData;
using sensor::CameraFactory;
using testing::ElementsAre;
using testing::IsEmpty;

class BlockReading : public test::BlockFolder {
protected:
  // The data path of a block file with a location.
  std::string dataPath(std::string const& location) const {
    return BlockModelData(file(test::utm33, "version=\"1.0\" location=\"" + location + "\""), false, false, false)
        .dataPath();
  }
  static std::vector<std::string> names(BlockModelData const& block) {
    std::vector<std::string> names;
    block.stripNames(names);
    return names;
  }
};

TEST_F(BlockReading, TellsAllThatTheFileTells) {
  auto const block = read("<Description>Two &lt; three</Description>" + twoStrips() + test::utm33 +
                          "<Models><DSM filename=\"dsm/one.tif\"/><DSM filename=\"/else/two.tif\"/></Models>"
                          "<ReferenceImages><Image filename=\"/else/three.tif\"/><Image filename=\"four.tif\"/>"
                          "</ReferenceImages><GroundControls><GCP filename=\"points/all.gpt\"/></GroundControls>");
  EXPECT_EQ(block->fileName(), mFolder / "block.blf");
  EXPECT_EQ(block->displayName(), "Valley");
  EXPECT_EQ(block->dataPath(), mFolder.path());
  EXPECT_EQ(block->description(), "Two < three");
  EXPECT_EQ(block->groundPointFile(), "points/all.gpt");
  EXPECT_THAT(names(*block), ElementsAre("East", "West"));
  EXPECT_THAT(block->elevationSourceNames(), ElementsAre(mFolder / "dsm/one.tif", "/else/two.tif"));
  EXPECT_THAT(block->referenceImageNames(), ElementsAre("/else/three.tif", mFolder / "four.tif"));
  EXPECT_EQ(block->groundPointCoordSys(), nullptr);
  EXPECT_EQ(block->groundPoints().numPoints(), 0);
}

TEST_F(BlockReading, StripsBelongToTheBlockAndUseItsSystem) {
  auto const block = read(twoStrips() + test::utm33);
  for (char const* name : {"East", "West"}) {
    ASSERT_NE(block->strip(name), nullptr) << name;
    EXPECT_EQ(block->strip(name)->parentBlock(), block.get());
    EXPECT_EQ(block->strip(name)->mappingSystem(), block->coordSys());
  }
  EXPECT_EQ(block->strip("West")->modelData()->fileName(), mFolder / "a.stp");
}

TEST_F(BlockReading, AbsoluteStripFileStandsAsItIs) {
  std::string const strip = addStrip("a.stp", "West");
  BlockModelData const block(
      file("<Strips><Strip filename=\"" + strip + "\"/></Strips>" + test::utm33, "version=\"1.0\" location=\"none\""),
      false, false, false);
  EXPECT_THAT(names(block), ElementsAre("West"));
}

TEST_F(BlockReading, RelativeFilesAreBelowTheDataPath) {
  std::filesystem::create_directory(mFolder / "data");
  std::filesystem::rename(addStrip("a.stp", "West"), mFolder / "data/a.stp");
  for (char const* name : {"flight.eop", "PANN00A.ctg"}) {
    std::filesystem::rename(mFolder / name, mFolder / (std::string("data/") + name));
  }
  BlockModelData const block(file("<Strips><Strip filename=\"a.stp\"/></Strips><Models><DSM filename=\"d\"/></Models>"
                                  "<ReferenceImages><Image filename=\"i\"/></ReferenceImages>" +
                                      std::string(test::utm33),
                                  "version=\"1.0\" location=\"data\""),
                             false, false, false);
  EXPECT_THAT(names(block), ElementsAre("West"));
  EXPECT_THAT(block.elevationSourceNames(), ElementsAre(mFolder / "data/d"));
  EXPECT_THAT(block.referenceImageNames(), ElementsAre(mFolder / "data/i"));
}

TEST_F(BlockReading, BlockWithoutStripsReadsAndHasNone) {
  auto const block = read(test::utm33);
  EXPECT_EQ(block->numStrips(), 0);
  EXPECT_NE(block->coordSys(), nullptr);
}

TEST_F(BlockReading, NameIsUnknownUnlessTold) {
  EXPECT_EQ(BlockModelData(file(test::utm33, "version=\"1.0\""), false, false, false).displayName(), "unknown");
}

TEST_F(BlockReading, DotAsLocationEqualsNone) {
  for (char const* location : {"", ".", "  ", " . "}) {
    EXPECT_EQ(dataPath(location), mFolder.path()) << location;
  }
}

TEST_F(BlockReading, LocationIsTrimmedAndBelowTheBlocksFolderUnlessAbsolute) {
  EXPECT_EQ(dataPath(" data/all "), mFolder / "data/all");
  EXPECT_EQ(dataPath("./"), mFolder / "./");
  EXPECT_EQ(dataPath(".."), mFolder / "..");
  EXPECT_EQ(dataPath(" /else/where/ "), "/else/where/");
}

TEST_F(BlockReading, FileNameIsKeptAsGivenAndItsFolderIsAbsolute) {
  file(test::utm33);
  std::string const relative = std::filesystem::relative(mFolder / "block.blf").string();
  BlockModelData const block(relative, false, false, false);
  EXPECT_EQ(block.fileName(), relative);
  EXPECT_EQ(block.dataPath(), std::filesystem::canonical(mFolder.path()).string());
}

TEST_F(BlockReading, ElementsComeInAnyOrderAndOthersAreIgnored) {
  std::string const strips = twoStrips();
  auto const block = read("<GroundControls><Else/><GCP filename=\"p\"/></GroundControls><Else filename=\"\"/>"
                          "<Models><Image filename=\"x\"/><DSM filename=\"/d\"/></Models>" +
                          std::string(test::utm33) + strips + "<Description>text</Description>");
  EXPECT_EQ(block->groundPointFile(), "p");
  EXPECT_THAT(block->elevationSourceNames(), ElementsAre("/d"));
  EXPECT_THAT(names(*block), ElementsAre("East", "West"));
  EXPECT_EQ(block->description(), "text");
}

TEST_F(BlockReading, SeveralListsAreOne) {
  std::string const first = twoStrips();
  addStrip("c.stp", "North");
  auto const block = read(first + "<Strips><Else filename=\"no\"/><Strip filename=\"c.stp\"/></Strips>" + test::utm33);
  EXPECT_THAT(names(*block), ElementsAre("East", "North", "West"));
}

TEST_F(BlockReading, FirstOfTwoStripsOfOneNameStays) {
  addStrip("a.stp", "Same");
  addStrip("b.stp", "Same");
  auto const block =
      read("<Strips><Strip filename=\"b.stp\"/><Strip filename=\"a.stp\"/></Strips>" + std::string(test::utm33));
  EXPECT_EQ(block->numStrips(), 1);
  EXPECT_EQ(block->strip("Same")->modelData()->fileName(), mFolder / "b.stp");
}

TEST_F(BlockReading, LastOfSeveralCoordinateSystemsStays) {
  auto const block = read(std::string(test::utm33) + "<CoordinateSystem definition=\"EPSG:4979\"/>");
  EXPECT_LT(block->coordSys()->horizontalUnits().getScale(), 1.1e6);
  EXPECT_GT(block->coordSys()->horizontalUnits().getScale(), 1e5);  // a degree
}

TEST_F(BlockReading, StripsAreLoadedOnDemandWithTheFlagsOfTheBlock) {
  mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  mStrip.writeEop(mFolder, "adjusted.eop", 5.0);
  std::string const name = file(twoStrips() + test::utm33);
  BlockModelData const listed(name, false, false, false);
  BlockModelData const adjusted(name, true, false, false);
  BlockModelData const original(name, true, true, false);
  EXPECT_FALSE(listed.strip("East")->isDataLoaded());
  EXPECT_TRUE(adjusted.strip("East")->isDataLoaded());
  EXPECT_TRUE(adjusted.strip("East")->isUseAdjustedEOP());
  EXPECT_TRUE(original.strip("East")->isDataLoaded());
  EXPECT_TRUE(original.strip("East")->isUseOriginalEOP());
}

TEST_F(BlockReading, CalibrationsGoInFrontForAllStripsOfTheFile) {
  std::string const strips = twoStrips();
  CameraFactory::instance()->clearSearchPaths();
  std::vector<std::string> expected = CameraFactory::instance()->searchPaths();
  auto const block =
      read(strips + test::utm33 + "<Calibration location=\" calibration \"/><Else location=\"calibration\"/>");
  EXPECT_EQ(block->numStrips(), 2);
  expected.insert(expected.begin(), mFolder / "calibration");
  EXPECT_EQ(CameraFactory::instance()->searchPaths(), expected);
}

TEST_F(BlockReading, CalibrationsStandBelowTheBlockNotTheDataPathUnlessAbsolute) {
  BlockModelData const block(file(std::string(test::utm33) + "<Calibration location=\"c\"/><Calibration/>"
                                                             "<Calibration location=\" /else/where \"/>",
                                  "version=\"1.0\" location=\"data\""),
                             false, false, false);
  auto const& paths = CameraFactory::instance()->searchPaths();
  ASSERT_GE(paths.size(), 3U);
  EXPECT_EQ(paths[0], "/else/where");
  EXPECT_EQ(paths[1], mFolder / "");
  EXPECT_EQ(paths[2], mFolder / "c");
}

TEST_F(BlockReading, ReadingTwicePutsCalibrationsTwiceInFront) {
  std::string const elements = std::string(test::utm33) + "<Calibration location=\"c\"/>";
  std::size_t const before = CameraFactory::instance()->searchPaths().size();
  read(elements);
  read(elements);
  auto const& paths = CameraFactory::instance()->searchPaths();
  ASSERT_EQ(paths.size(), before + 2);
  EXPECT_EQ(paths[0], mFolder / "c");
  EXPECT_EQ(paths[1], mFolder / "c");
}

TEST_F(BlockReading, CalibrationsStayWhenReadingFails) {
  messageOf("<Calibration location=\"c\"/>");
  EXPECT_EQ(CameraFactory::instance()->searchPaths().front(), mFolder / "c");
}

TEST_F(BlockReading, CalibrationsAfterAFaultArentEntered) {
  auto const before = CameraFactory::instance()->searchPaths();
  messageOf("<Strips><Strip/></Strips><Calibration location=\"c\"/>");
  EXPECT_EQ(CameraFactory::instance()->searchPaths(), before);
}

TEST_F(BlockReading, GroundPointsAreReadWhenDataAre) {
  mFolder.file("points.gpt", onePointText());
  std::string const elements =
      std::string(test::utm33) + "<GroundControls><GCP filename=\"points.gpt\"/></GroundControls>";
  EXPECT_EQ(read(elements, false)->groundPoints().numPoints(), 0);
  auto const block = read(elements, true);
  ASSERT_EQ(block->groundPoints().numPoints(), 1);
  EXPECT_EQ(block->groundPoints().points()[0].id, "P1");
  EXPECT_EQ(block->groundPointFile(), "points.gpt");
}

TEST_F(BlockReading, MissingGroundPointFileIsNoFailure) {
  auto const block =
      read(std::string(test::utm33) + "<GroundControls><GCP filename=\"none.gpt\"/></GroundControls>", true);
  EXPECT_EQ(block->groundPointFile(), "none.gpt");
  EXPECT_EQ(block->groundPoints().numPoints(), 0);
}

TEST_F(BlockReading, LastOfSeveralGroundPointFilesStays) {
  mFolder.file("a.gpt", onePointText("7"));
  mFolder.file("b.gpt", onePointText("8"));
  auto const block = read(std::string(test::utm33) +
                              "<GroundControls><GCP filename=\"a.gpt\"/><GCP filename=\"b.gpt\"/></GroundControls>",
                          true);
  ASSERT_EQ(block->groundPoints().numPoints(), 1);
  EXPECT_EQ(block->groundPoints().points()[0].x, 8.0);
}

TEST_F(BlockReading, GroundPointsSystemIsReadWithinTheirElementAndNotBesideIt) {
  std::string const system = "<CoordinateSystem definition=\"EPSG:4326\"/>";
  auto const within =
      read(std::string(test::utm33) + "<GroundControls><GCP filename=\"p\">" + system + "</GCP></GroundControls>");
  auto const beside =
      read(std::string(test::utm33) + "<GroundControls><GCP filename=\"p\"/>" + system + "</GroundControls>");
  ASSERT_NE(within->groundPointCoordSys(), nullptr);
  EXPECT_GT(within->groundPointCoordSys()->horizontalUnits().getScale(), 1e5);  // a degree
  EXPECT_EQ(beside->groundPointCoordSys(), nullptr);
}

}  // namespace
