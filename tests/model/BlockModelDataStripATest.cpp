#include "StripAFlight.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <sensor/BlockModelData.h>
#include <sensor/EOPData.h>

namespace {

using sensor::BlockModelData;

// The independent flight's block with the strip whose camera has CAM files. It is read from elsewhere, so that nothing is
// ever written beside the flight.
class StripABlock : public testing::Test {
protected:
  StripABlock() {
    std::string text = test::contents(test::stripA::path("project/block.blf"));
    replace(text, "<Strip filename=\"strip_xml.stp\"/>", "");
    replace(text, "name=\"Generated block\"",
            "name=\"Generated block\" location=\"" + test::stripA::path("project") + "\"");
    replace(text, "\"../calibration\"", "\"" + test::stripA::path("calibration") + "\"");
    mName = mFolder.file("block.blf", text);
  }
  static void replace(std::string& text, std::string const& from, std::string const& to) {
    std::size_t const at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
  }

  test::TempFolder mFolder;
  std::string mName;
};

TEST_F(StripABlock, ReadsWithItsStripAndItsGroundPoints) {
  BlockModelData const block(mName, true, true, true);
  nlohmann::json const& strip = test::stripA::expected().at("strips").at(0);
  EXPECT_EQ(block.displayName(), "Generated block");
  EXPECT_EQ(block.description(), "Two strips of one generated flight");
  ASSERT_EQ(block.numStrips(), 1);
  std::vector<std::string> names;
  block.stripNames(names);
  EXPECT_EQ(block.strip(names[0])->modelData()->fileName(), test::stripA::path(strip.at("file").get<std::string>()));
  EXPECT_TRUE(block.strip(names[0])->isDataLoaded());
  EXPECT_GT(block.groundPoints().numPoints(), 2);
  EXPECT_EQ(block.groundPoints().points()[1].id, "GCP2");
}

TEST_F(StripABlock, StandardDeviationsAreReadWhenAskedFor) {
  for (bool const loadStdDevs : {true, false}) {
    BlockModelData const block(mName, true, true, loadStdDevs);
    std::vector<std::string> names;
    block.stripNames(names);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(block.strip(names[0])->eop()->hasStdDevs(), loadStdDevs);
  }
}

TEST_F(StripABlock, SensorHasTheBandsOfTheStrip) {
  BlockModelData const block(mName, false, true, false);
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  block.bandsPerSensor(bands, sensors);
  EXPECT_THAT(sensors, testing::ElementsAre("KESA0"));
  ASSERT_EQ(bands.size(), 1U);
  EXPECT_EQ(bands[0].size(), 8U);
  EXPECT_NE(std::find(bands[0].begin(), bands[0].end(), "PANF27A"), bands[0].end());
}

}  // namespace
