// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripAFlight.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <sensor/BlockModelData.h>
#include <sensor/EOPData.h>

namespace {

using sensor::BlockModelData;

// The independent flight's block of two strips. It is read from elsewhere, so that nothing is ever written beside the
// flight.
class StripABlock : public testing::Test {
protected:
  StripABlock() {
    std::string text = test::contents(test::stripA::path("project/block.blf"));
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

TEST_F(StripABlock, ReadsWithItsStripsAndItsGroundPoints) {
  BlockModelData const block(mName, true, true, true);
  EXPECT_EQ(block.displayName(), "Generated block");
  EXPECT_EQ(block.description(), "Two strips of one generated flight");
  ASSERT_EQ(block.numStrips(), 2);
  std::vector<std::string> names;
  block.stripNames(names);
  std::vector<std::string> files;
  for (std::string const& name : names) {
    files.push_back(block.strip(name)->modelData()->fileName());
    EXPECT_TRUE(block.strip(name)->isDataLoaded());
  }
  EXPECT_THAT(files, testing::UnorderedElementsAre(test::stripA::path("project/strip_cam.stp"),
                                                   test::stripA::path("project/strip_xml.stp")));
  EXPECT_GT(block.groundPoints().numPoints(), 2);
  EXPECT_EQ(block.groundPoints().points()[1].id, "GCP2");
}

TEST_F(StripABlock, StandardDeviationsAreReadWhenAskedFor) {
  for (bool const loadStdDevs : {true, false}) {
    BlockModelData const block(mName, true, true, loadStdDevs);
    std::vector<std::string> names;
    block.stripNames(names);
    ASSERT_EQ(names.size(), 2U);
    for (std::string const& name : names) {
      EXPECT_EQ(block.strip(name)->eop()->hasStdDevs(), loadStdDevs);
    }
  }
}

TEST_F(StripABlock, SensorsHaveTheBandsOfTheirStrips) {
  BlockModelData const block(mName, false, true, false);
  std::vector<std::vector<std::string>> bands;
  std::vector<std::string> sensors;
  block.bandsPerSensor(bands, sensors);
  ASSERT_THAT(sensors, testing::UnorderedElementsAre("KESA0", "HDB00"));
  ASSERT_EQ(bands.size(), 2U);
  std::size_t const cam = sensors[0] == "KESA0" ? 0 : 1;
  EXPECT_EQ(bands[cam].size(), 8U);
  EXPECT_THAT(bands[cam], testing::Contains("PANN00A"));
  EXPECT_THAT(bands[1 - cam], testing::UnorderedElementsAre("PANF27A", "PANN02A", "PANB14A", "REDN00A", "NIRF16A"));
}

}  // namespace
