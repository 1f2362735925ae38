// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

namespace {

using sensor::KESStripModelData;

class StripValidity : public test::StripFolder {
protected:
  // What is appended to a message; a strip is valid when nothing is.
  static std::string validity(KESStripModelData const& data, bool images) {
    std::string message = "before;";
    bool const valid = data.isDataValid(message, images);
    EXPECT_EQ(valid, message == "before;");
    EXPECT_THAT(message, testing::StartsWith("before;"));
    return message.substr(std::string("before;").size());
  }
  std::string validityOf(std::string const& text, bool images = false) const {
    return validity(*readText(text), images);
  }
};

TEST_F(StripValidity, StopsAtTheFirstThingThatIsMissing) {
  mStrip.writeEop(mFolder, "better.eop");
  std::string text = mStrip.text();
  text.replace(text.find("\"raw\""), 5, "\"r\"");
  text.replace(text.find("\"images\""), 8, "\"i\"");
  text.replace(text.find("\"flight.eop\""), 12, "\"a.eop\" filename_adjusted=\"better.eop\"");
  auto const data = readText(text);
  forget(data->camera());
  std::filesystem::remove(mFolder / "better.eop");

  EXPECT_EQ(validity(*data, true), "Raw data location: " + (mFolder / "r") + " doesn't exist!\n");
  mFolder.folder("r");
  EXPECT_EQ(validity(*data, true), "Image data location: " + (mFolder / "i") + " doesn't exist!\n");
  mFolder.folder("i");
  EXPECT_EQ(validity(*data, true), "No Camera found for sensor KESA0 ID: " + mStrip.sensorId + " version: v001");
  mFolder.folder("calibration/KESA0_" + mStrip.sensorId + "/v001");
  EXPECT_EQ(validity(*data, true), "Original EOP file: " + (mFolder / "a.eop") + " doesn't exist!\n");
  mFolder.file("a.eop", "");
  EXPECT_EQ(validity(*data, true), "Adjusted EOP file: " + (mFolder / "better.eop") + " doesn't exist!\n");
  mFolder.file("better.eop", "");
  EXPECT_EQ(validity(*data, false), "");
  EXPECT_EQ(validity(*data, true), "Image: " + (mFolder / "i/PANN00A.tif") + " doesn't exist!\n");
}

TEST_F(StripValidity, LooksForTheFilesOfEachImageInOrder) {
  mStrip.bands = {{"PANN00A"}, {"PANF27A"}};
  mStrip.write(mFolder);
  auto const data = readText(mStrip.text());
  mFolder.file("images/PANN00A.tif", "");
  std::filesystem::remove(mFolder / "PANN00A.ctg");
  EXPECT_EQ(validity(*data, true), "CTG file: " + (mFolder / "PANN00A.ctg") + " doesn't exist!\n");
  mFolder.file("PANN00A.ctg", "");
  EXPECT_EQ(validity(*data, true), "Footprint file: " + (mFolder / "PANN00A.xml") + " doesn't exist!\n");
  mFolder.file("PANN00A.xml", "");
  EXPECT_EQ(validity(*data, true), "Image: " + (mFolder / "images/PANF27A.tif") + " doesn't exist!\n");
  mFolder.file("images/PANF27A.tif", "");
  mFolder.file("PANF27A.xml", "");
  EXPECT_EQ(validity(*data, true), "");
}

TEST_F(StripValidity, ImageWithAnAbsoluteNameIsLookedForThere) {
  std::string const name = mFolder / "elsewhere/a.tif";
  EXPECT_EQ(validityOf(with("PANN00A.tif", name), true), "Image: " + name + " doesn't exist!\n");
  mFolder.file("elsewhere/a.tif", "");
  EXPECT_EQ(validityOf(with("PANN00A.tif", name), true),
            "Footprint file: " + (mFolder / "PANN00A.xml") + " doesn't exist!\n");
}

TEST_F(StripValidity, OrientationsWithoutANameArentLookedFor) {
  EXPECT_EQ(validityOf(with("<EOP filename=\"flight.eop\"/>", "")), "");
}

}  // namespace
