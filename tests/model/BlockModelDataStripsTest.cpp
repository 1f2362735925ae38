// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/BlockFolder.h"
#include "support/Slots.h"

#include <QDomElement>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <type_traits>

namespace {

using sensor::BlockModelData;
using sensor::KESStripModel;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Log = std::vector<std::string>;

// A coordinate system and a strip that enter their ends in a log.
class LoggedSystem : public geo::coordSys {
public:
  LoggedSystem(Log& log, std::string name) : mLog(log), mName(std::move(name)) {}
  LoggedSystem(LoggedSystem const&) = delete;
  LoggedSystem& operator=(LoggedSystem const&) = delete;
  ~LoggedSystem() override { mLog.push_back("end of " + mName); }
  geo::units const& verticalUnits() const override { throw std::logic_error("never asked"); }
  geo::units const& horizontalUnits() const override { throw std::logic_error("never asked"); }
  QDomElement toXml(QDomDocument&) const override { return {}; }

private:
  void toGeodetic(geo::XYZPoint*, std::size_t) const override {}
  void fromGeodetic(geo::XYZPoint*, std::size_t) const override {}

  Log& mLog;
  std::string mName;
};

class LoggedStrip : public KESStripModel {
public:
  LoggedStrip(Log& log, std::string const& file) : KESStripModel(file, false, false, false), mLog(log) {}
  LoggedStrip(LoggedStrip const&) = delete;
  LoggedStrip& operator=(LoggedStrip const&) = delete;
  ~LoggedStrip() override { mLog.push_back("end of " + name()); }
  void setMappingSystem(geo::coordSys* system) override {
    mLog.push_back(name() + (system == nullptr ? " without system" : " with system"));
    KESStripModel::setMappingSystem(system);
  }

private:
  Log& mLog;
};

class BlockStrips : public test::BlockFolder {
protected:
  // Attaches a strip, which the block owns from then on.
  KESStripModel* attach(BlockModelData& block, std::string const& name) const {
    KESStripModel* const model = strip(name).release();
    block.attach(model);
    return model;
  }
};

TEST_F(BlockStrips, EmptyBlockHasNothing) {
  BlockModelData const block;
  EXPECT_EQ(block.fileName(), "");
  EXPECT_EQ(block.displayName(), "");
  EXPECT_EQ(block.dataPath(), "");
  EXPECT_EQ(block.description(), "");
  EXPECT_EQ(block.groundPointFile(), "");
  EXPECT_EQ(block.numStrips(), 0);
  EXPECT_THAT(block.elevationSourceNames(), IsEmpty());
  EXPECT_THAT(block.referenceImageNames(), IsEmpty());
  EXPECT_EQ(block.coordSys(), nullptr);
  EXPECT_EQ(block.groundPointCoordSys(), nullptr);
  EXPECT_EQ(block.groundPoints().numPoints(), 0);
  EXPECT_EQ(block.strip("any"), nullptr);
}

TEST_F(BlockStrips, ConstantsOfTheFile) {
  EXPECT_STREQ(BlockModelData::FILE_ID, "Block");
  EXPECT_STREQ(BlockModelData::FILE_ATTR_VERSION, "1.0");
  EXPECT_STREQ(BlockModelData::FILE_DEFAULT_EXTENSION, "blf");
  EXPECT_STREQ(BlockModelData::CONTROL_POINT_LOCATION, "control");
  EXPECT_STREQ(BlockModelData::CONTROL_POINT_FILENAME, "controls.gpt");
  EXPECT_EQ(BlockModelData::defaultExtension(), "blf");
}

TEST_F(BlockStrips, TextsAreKept) {
  BlockModelData block;
  block.setFileName("f");
  block.setDisplayName("n");
  block.setDataPath("p");
  block.setDescription("d");
  block.setGroundPointFile("g");
  EXPECT_EQ(block.fileName(), "f");
  EXPECT_EQ(block.displayName(), "n");
  EXPECT_EQ(block.dataPath(), "p");
  EXPECT_EQ(block.description(), "d");
  EXPECT_EQ(block.groundPointFile(), "g");
}

// Hosts are linked against these places: a new operation goes behind the last one.
TEST_F(BlockStrips, VirtualOperationsHaveTheirPlaces) {
  void (BlockModelData::*toWriter)(XmlWriter*) const = &BlockModelData::write;
  void (BlockModelData::*toFile)(std::string const&) = &BlockModelData::write;
  void (BlockModelData::*again)() = &BlockModelData::write;
  EXPECT_EQ(test::slotOf(toWriter), 0U);
  EXPECT_EQ(test::slotOf(toFile), 1U);
  EXPECT_EQ(test::slotOf(again), 2U);
  EXPECT_EQ(test::slotOf(&BlockModelData::coordSys), 3U);
  EXPECT_EQ(test::slotOf(&BlockModelData::setCoordSys), 4U);
  EXPECT_EQ(test::slotOf(&BlockModelData::addElevationSource), 5U);
  EXPECT_EQ(test::slotOf(&BlockModelData::removeElevationSource), 6U);
  EXPECT_EQ(test::slotOf(&BlockModelData::addReferenceImage), 7U);
  EXPECT_EQ(test::slotOf(&BlockModelData::attach), 8U);
  EXPECT_EQ(test::slotOf(&BlockModelData::detach), 9U);
  EXPECT_EQ(test::slotOf(&BlockModelData::setGroundPointFile), 10U);
}

TEST_F(BlockStrips, BlocksArentCopied) {
  static_assert(!std::is_copy_constructible_v<BlockModelData> && !std::is_copy_assignable_v<BlockModelData>);
  static_assert(!std::has_virtual_destructor_v<BlockModelData>);
}

TEST_F(BlockStrips, AttachedStripHasBlockAndSystem) {
  BlockModelData block;
  block.setCoordSys(system());
  KESStripModel* const model = attach(block, "North");
  EXPECT_EQ(model->parentBlock(), &block);
  EXPECT_EQ(model->mappingSystem(), block.coordSys());
  EXPECT_EQ(block.strip("North"), model);
  EXPECT_TRUE(block.hasStrip("North"));
  EXPECT_FALSE(block.hasStrip("north"));
  EXPECT_EQ(block.numStrips(), 1);
}

TEST_F(BlockStrips, StripWithoutASystemIsHeldButNotGiven) {
  BlockModelData block;
  KESStripModel* const model = attach(block, "North");
  EXPECT_EQ(model->mappingSystem(), nullptr);
  EXPECT_EQ(block.strip("North"), nullptr);
  EXPECT_TRUE(block.hasStrip("North"));
  block.setCoordSys(system());
  EXPECT_EQ(block.strip("North"), model);
  model->setParentBlock(nullptr);
  EXPECT_EQ(block.strip("North"), nullptr);
}

TEST_F(BlockStrips, SecondStripOfANameIsLeftOutButPointsToTheBlock) {
  BlockModelData block;
  block.setCoordSys(system());
  auto const second = strip("North");
  KESStripModel* const first = attach(block, "North");
  block.attach(second.get());
  EXPECT_EQ(block.strip("North"), first);
  EXPECT_EQ(block.numStrips(), 1);
  EXPECT_EQ(second->parentBlock(), &block);
  EXPECT_EQ(second->mappingSystem(), block.coordSys());
}

TEST_F(BlockStrips, DetachedStripIsItsCallers) {
  BlockModelData block;
  std::unique_ptr<KESStripModel> const model(attach(block, "North"));
  attach(block, "South");
  block.detach(nullptr);
  EXPECT_EQ(block.numStrips(), 2);
  block.detach(model.get());
  EXPECT_EQ(model->parentBlock(), nullptr);
  EXPECT_FALSE(block.hasStrip("North"));
  EXPECT_TRUE(block.hasStrip("South"));
}

TEST_F(BlockStrips, DetachingGoesByTheName) {
  BlockModelData block;
  std::unique_ptr<KESStripModel> const held(attach(block, "North"));
  auto const other = strip("North");
  block.detach(other.get());
  EXPECT_EQ(block.numStrips(), 0);
  EXPECT_EQ(held->parentBlock(), &block);
}

TEST_F(BlockStrips, NamesReplaceWhatWasThereInOrder) {
  BlockModelData block;
  for (char const* name : {"b", "C", "a"}) {
    attach(block, name);
  }
  std::vector<std::string> names{"old"};
  block.stripNames(names);
  EXPECT_THAT(names, ElementsAre("C", "a", "b"));
}

TEST_F(BlockStrips, NewSystemGoesToAllStripsAndTheOldOneEnds) {
  Log log;
  BlockModelData block;
  block.setCoordSys(new LoggedSystem(log, "first"));
  block.attach(new LoggedStrip(log, addStrip("b.stp", "South")));
  block.attach(new LoggedStrip(log, addStrip("a.stp", "North")));
  log.clear();
  block.setCoordSys(system());
  EXPECT_THAT(log, ElementsAre("end of first", "North with system", "South with system"));
  log.clear();
  block.setCoordSys(block.coordSys());
  EXPECT_THAT(log, ElementsAre("North with system", "South with system"));
  log.clear();
  block.setCoordSys(nullptr);
  EXPECT_EQ(block.coordSys(), nullptr);
  EXPECT_THAT(log, ElementsAre("North without system", "South without system"));
}

TEST_F(BlockStrips, StripsArentToldOfTheGroundPointsSystem) {
  Log log;
  BlockModelData block;
  block.attach(new LoggedStrip(log, addStrip("a.stp", "North")));
  log.clear();
  auto* const points = new LoggedSystem(log, "points");
  block.setGroundPointCoordSys(points);
  EXPECT_EQ(block.groundPointCoordSys(), points);
  block.setGroundPointCoordSys(points);
  EXPECT_THAT(log, IsEmpty());
  block.setGroundPointCoordSys(nullptr);
  EXPECT_THAT(log, ElementsAre("end of points"));
}

TEST_F(BlockStrips, EndOfABlockEndsItsSystemsAndThenItsStripsByName) {
  Log log;
  {
    BlockModelData block;
    block.setGroundPointCoordSys(new LoggedSystem(log, "points"));
    block.setCoordSys(new LoggedSystem(log, "map"));
    block.attach(new LoggedStrip(log, addStrip("a.stp", "South")));
    block.attach(new LoggedStrip(log, addStrip("b.stp", "North")));
    log.clear();
  }
  EXPECT_THAT(log, ElementsAre("end of map", "end of points", "end of North", "end of South"));
}

TEST_F(BlockStrips, ElevationSourcesAreAppendedAndTheFirstMatchRemoved) {
  BlockModelData block;
  for (char const* name : {"a", "b", "a", "c"}) {
    block.addElevationSource(name);
  }
  block.removeElevationSource("A");
  EXPECT_THAT(block.elevationSourceNames(), ElementsAre("a", "b", "a", "c"));
  block.removeElevationSource("a");
  EXPECT_THAT(block.elevationSourceNames(), ElementsAre("b", "a", "c"));
  EXPECT_THAT(block.referenceImageNames(), IsEmpty());
}

TEST_F(BlockStrips, ReferenceImagesAreAppended) {
  BlockModelData block;
  for (char const* name : {"b", "a", "b"}) {
    block.addReferenceImage(name);
  }
  EXPECT_THAT(block.referenceImageNames(), ElementsAre("b", "a", "b"));
  EXPECT_THAT(block.elevationSourceNames(), IsEmpty());
}

TEST_F(BlockStrips, PlaceHolderOfAStripIsHeld) {
  BlockModelData block;
  block.setCoordSys(system());
  block.attach(new KESStripModel);
  EXPECT_TRUE(block.hasStrip(""));
  EXPECT_EQ(block.strip(""), nullptr);
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  block.bandsPerSensor(bands, sensors);
  EXPECT_THAT(sensors, IsEmpty());
  EXPECT_THAT(element(block), testing::HasSubstr("<Strips/>"));
}

// Strips of different bands.
class BlockBands : public BlockStrips {
protected:
  BlockBands() {
    mStrip.bands = {{"REDB16A", -15.0}, {"PANF27A", 25.0}, {"PANN00A"}};
    mStrip.write(mFolder);
    mAll = mStrip.bands;
  }
  std::string stripOf(std::string const& name, std::vector<test::SmallBand> const& bands,
                      std::string const& type = "KESA0") {
    mStrip.bands = bands;
    mStrip.calibration =
        "<Calibration version=\"v001\" sensor_id=\"" + mStrip.sensorId + type + "\" sensor_type=\"" + type + "\"/>";
    std::string const to = mFolder / ("calibration/" + type + "_" + mStrip.sensorId + type);
    if (!test::exists(to)) {
      std::filesystem::copy(mFolder / ("calibration/KESA0_" + mStrip.sensorId), to,
                            std::filesystem::copy_options::recursive);
    }
    return addStrip(name + ".stp", name);
  }
  void attachFile(std::string const& file, bool load = false) {
    mBlock.attach(new KESStripModel(file, load, false, false));
  }

  std::vector<test::SmallBand> mAll;
  BlockModelData mBlock;
};

TEST_F(BlockBands, EachBandOfAllStripsComesOnce) {
  attachFile(stripOf("A", {mAll[0], mAll[1]}));
  attachFile(stripOf("B", {mAll[1], mAll[2]}));
  std::vector<std::string> bands{"old"};
  mBlock.bands(bands);
  EXPECT_THAT(bands, UnorderedElementsAre("REDB16A", "PANF27A", "PANN00A"));
}

TEST_F(BlockBands, FirstStripByNameTellsTheBandsOfItsSensor) {
  attachFile(stripOf("C", {mAll[1]}, "KESB1"));
  attachFile(stripOf("B", {mAll[1]}));
  attachFile(stripOf("A", {mAll[2], mAll[0]}));
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_THAT(sensors, ElementsAre("KESA0", "KESB1"));
  EXPECT_THAT(bands, ElementsAre(ElementsAre("PANN00A", "REDB16A"), ElementsAre("PANF27A")));
}

TEST_F(BlockBands, ListsOfSensorsGrow) {
  attachFile(stripOf("A", {mAll[0]}));
  attachFile(stripOf("B", {mAll[1]}, "KESB1"));
  std::vector<std::vector<std::string>> bands{{"old"}};
  std::vector<std::string> sensors{"KESB1"};
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_THAT(sensors, ElementsAre("KESB1", "KESA0"));
  EXPECT_THAT(bands, ElementsAre(ElementsAre("old"), ElementsAre("REDB16A")));
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_EQ(sensors.size(), 2U);
}

TEST_F(BlockBands, AskingForSensorsUnloadsEveryStrip) {
  attachFile(stripOf("A", {mAll[0]}), true);
  attachFile(stripOf("B", {mAll[0]}), false);
  mBlock.setCoordSys(system());
  KESStripModel const& loaded = *mBlock.strip("A");
  KESStripModel const& listed = *mBlock.strip("B");
  EXPECT_EQ(loaded.modelData()->owner(), &loaded);
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  mBlock.bandsPerSensor(bands, sensors);
  for (KESStripModel const* model : {&loaded, &listed}) {
    EXPECT_FALSE(model->isDataLoaded());
    EXPECT_EQ(model->modelData()->owner(), nullptr);
  }
  // Scale and azimuth were computed on the way, and stay.
  EXPECT_THAT(listed.scale(0), test::SameBits(loaded.scale(0)));
  EXPECT_NE(listed.scale(0), 1.0F);
  EXPECT_THAT(listed.flightAzimuth(), test::SameBits(loaded.flightAzimuth()));
}

TEST_F(BlockBands, AskingForSensorsTakesTheAdjustedOrientation) {
  mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  mStrip.writeEop(mFolder, "adjusted.eop", 5.0);
  mBlock.attach(new KESStripModel(stripOf("A", {mAll[0]}), false, true, false));
  mBlock.setCoordSys(system());
  EXPECT_TRUE(mBlock.strip("A")->isUseOriginalEOP());
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_TRUE(mBlock.strip("A")->isUseAdjustedEOP());
}

// The file says where its standard deviations are, but ends before.
TEST_F(BlockBands, AskingForSensorsLoadsNoStandardDeviations) {
  std::string const strip = stripOf("A", {mAll[0]});
  std::string eop = test::contents(mFolder / "flight.eop");
  std::int32_t const offset = 1 << 30;
  std::memcpy(&eop[12], &offset, sizeof offset);
  mFolder.file("flight.eop", eop);
  attachFile(strip);
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_THAT(sensors, ElementsAre("KESA0"));
}

TEST_F(BlockBands, AskingForSensorsLeavesTheOrientationOfALoadedStrip) {
  mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  mStrip.writeEop(mFolder, "adjusted.eop", 5.0);
  mBlock.attach(new KESStripModel(stripOf("A", {mAll[0]}), true, true, false));
  mBlock.setCoordSys(system());
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  mBlock.bandsPerSensor(bands, sensors);
  EXPECT_TRUE(mBlock.strip("A")->isUseOriginalEOP());
}

TEST_F(BlockBands, StripThatCantBeLoadedIsReported) {
  attachFile(stripOf("A", {mAll[0]}));
  std::filesystem::remove(mFolder / "REDB16A.ctg");
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  EXPECT_THROW(mBlock.bandsPerSensor(bands, sensors), std::runtime_error);
}

}  // namespace
