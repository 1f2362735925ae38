#include "support/Matchers.h"
#include "support/SmallStrip.h"

#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <sys/stat.h>

namespace {

using sensor::KESStripModelData;
using test::SmallStrip;

class StripFile : public testing::Test {
protected:
  StripFile() {
    mStrip.sensorId = testing::UnitTest::GetInstance()->current_test_info()->name();
    mFile = mStrip.write(mFolder);
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

  KESStripModelData read(bool load = false, bool original = false) const {
    return KESStripModelData(mFile, nullptr, load, original, false);
  }
  // The message that a strip file of this text gives.
  std::string messageOf(std::string const& text) const {
    mFolder.file("strip.stp", text);
    return test::messageOf([&] { read(); });
  }
  // The strip file with one text in place of another.
  std::string with(std::string const& from, std::string const& to) const {
    std::string text = mStrip.text();
    text.replace(text.find(from), from.size(), to);
    return text;
  }
  std::string contents() const { return test::contents(mFile); }

  test::TempFolder mFolder;
  SmallStrip mStrip;
  std::string mFile;
};

TEST_F(StripFile, AttributesAndElementsAreRead) {
  mFolder.file("strip.stp", with("mean_terrain_height=\"0\"", "mean_terrain_height=\"12.5\""));
  KESStripModelData const data = read();
  EXPECT_EQ(data.fileName(), mFile);
  EXPECT_EQ(data.name(), "Small");
  EXPECT_EQ(data.meanTerrainHeight(), 12.5F);
  EXPECT_EQ(data.meanFlyingHeight(), 0.0F);
  EXPECT_EQ(data.cameraVersion(), "v001");
  EXPECT_EQ(data.sensorType(), "KESA0");
  EXPECT_EQ(data.sensorId(), mStrip.sensorId);
  EXPECT_EQ(data.imageDataLocation(), mFolder / "images");
  EXPECT_EQ(data.rawDataLocation(), mFolder / "raw");
  EXPECT_EQ(data.originalEOPFileName(), mFolder / "flight.eop");
  EXPECT_EQ(data.adjustedEOPFileName(), "");
  EXPECT_EQ(data.numBands(), 1);
  EXPECT_FALSE(data.isDataLoaded());
  EXPECT_EQ(data.eop()->numSets(), 0);
}

TEST_F(StripFile, AttributesThatAreMissingOrNoNumbersHaveDefaults) {
  mFolder.file("strip.stp", with(" name=\"Small\" mean_terrain_height=\"0\"", ""));
  EXPECT_EQ(read().name(), "unknown");
  EXPECT_EQ(read().meanTerrainHeight(), 0.0F);
  mFolder.file("strip.stp", with("mean_terrain_height=\"0\"", "mean_terrain_height=\"high\""));
  EXPECT_EQ(read().meanTerrainHeight(), 0.0F);
}

TEST_F(StripFile, WhatIsNoFileCantBeOpened) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {mFolder / "none.stp", mFolder.path(), fifo}) {
    EXPECT_MESSAGE((KESStripModelData{name, nullptr, false, false, false}), "Error opening strip file:" + name);
  }
}

TEST_F(StripFile, TextThatIsNoXmlIsRefusedWithTheReason) {
  for (char const* text : {"", "no xml", "<Strip", "<Strip></Stripes>"}) {
    std::string const message = messageOf(text);
    EXPECT_THAT(message, testing::StartsWith("Error parsing xml file:" + mFile + ": "));
    EXPECT_GT(message.size(), ("Error parsing xml file:" + mFile + ": ").size());
  }
  EXPECT_EQ(messageOf("<!DOCTYPE Strip>" + std::string("<Strip/>")),
            "Error parsing xml file:" + mFile + ": document type declarations are not accepted");
}

TEST_F(StripFile, OtherRootsAndVersionsAreRefused) {
  EXPECT_EQ(messageOf("<Block/>"), "Wrong file format: expected \"Strip\" but saw \"Block\"");
  EXPECT_EQ(messageOf("<Strip/>"), "Wrong file version: expected \"1.0\" but saw \"\"");
  EXPECT_EQ(messageOf("<Strip version=\"1\"/>"), "Wrong file version: expected \"1.0\" but saw \"1\"");
}

TEST_F(StripFile, MissingImagesComeFirst) {
  EXPECT_EQ(messageOf("<Strip version=\"1.0\"/>"), "Strip contains no usable images/");
  EXPECT_EQ(messageOf("<Strip version=\"1.0\"><Images><Picture/></Images></Strip>"),
            "Strip contains no usable images/");
}

TEST_F(StripFile, MissingElementsAreNamed) {
  std::string const calibration = "<Calibration version=\"v001\" sensor_id=\"" + mStrip.sensorId + "\"/>";
  EXPECT_EQ(messageOf(with(calibration, "")), "Missing element: \"Calibration\"");
  EXPECT_EQ(messageOf(with("<RawData location=\"raw\"/>", "")), "Missing element: \"RawData\"");
}

TEST_F(StripFile, MissingAttributesAreNamed) {
  EXPECT_EQ(messageOf(with("<Calibration version=\"v001\"", "<Calibration")),
            "Missing attribute \"version\" for element \"Calibration\"!");
  EXPECT_EQ(messageOf(with(" sensor_id=\"" + mStrip.sensorId + "\"", "")),
            "Missing attribute \"sensor_id\" for element \"Calibration\"!");
  EXPECT_EQ(messageOf(with("<RawData location=\"raw\"/>", "<RawData/>")),
            "Missing attribute \"location\" for element \"RawData\"!");
}

TEST_F(StripFile, UnknownCameraIsNamed) {
  EXPECT_EQ(messageOf(with("\"v001\"", "\"v009\"")),
            "No calibration found for sensor KESA0 ID: " + mStrip.sensorId + " version: v009\n");
  EXPECT_EQ(messageOf(with("<Calibration ", "<Calibration sensor_type=\"HDB00\" ")),
            "No calibration found for sensor HDB00 ID: " + mStrip.sensorId + " version: v001\n");
}

TEST_F(StripFile, ElementsMayStandInAnyOrder) {
  std::string const calibration = "<Calibration version=\"v001\" sensor_id=\"" + mStrip.sensorId + "\"/>";
  std::string text = with(calibration, "");
  text.insert(text.find("<Images"), calibration + "<Unknown/>");
  mFolder.file("strip.stp", text);
  EXPECT_EQ(read().numBands(), 1);
}

TEST_F(StripFile, EachElementImagesAddsItsImages) {
  std::string text = mStrip.text();
  text.insert(text.find("<Calibration"), "<Images location=\"more\"><Image band=\"X\"/><Image band=\"Y\"/></Images>");
  mFolder.file("strip.stp", text);
  KESStripModelData const data = read();
  EXPECT_EQ(data.numBands(), 3);
  EXPECT_EQ(data.bandID(2), "Y");
  EXPECT_EQ(data.imageDataLocation(), mFolder / "more");
}

TEST_F(StripFile, LocationsAreTrimmedAndResolved) {
  mFolder.file("strip.stp", with("<Images location=\"images\">", "<Images>"));
  EXPECT_EQ(read().imageDataLocation(), mFolder / "");
  mFolder.file("strip.stp", with("location=\"images\"", "location=\"  /abs/images \""));
  EXPECT_EQ(read().imageDataLocation(), "/abs/images");
  mFolder.file("strip.stp", with("location=\"raw\"", "location=\"   \""));
  EXPECT_EQ(read().rawDataLocation(), mFolder / "");
}

TEST_F(StripFile, FailingImageIsPrintedAndThrownOn) {
  std::string const text = with("swath", "tdi=\"none\" swath");
  testing::internal::CaptureStderr();
  std::string const message = messageOf(text);
  EXPECT_EQ(message, "Can't open file: " + (mFolder / "none"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), message + "\n");
}

TEST_F(StripFile, WithoutAnOrientationLoadingFails) {
  mFolder.file("strip.stp", with("<EOP filename=\"flight.eop\"/>", ""));
  KESStripModelData data = read();
  EXPECT_EQ(data.eopFileName(), "");
  EXPECT_MESSAGE(data.loadData(false, false), "failed to open EOP file: ");
  EXPECT_EQ(messageOf(with(" filename=\"flight.eop\"", "")), "failed to open EOP file: " + (mFolder / ""));
}

TEST_F(StripFile, AdjustedOrientationOfBlanksIsNone) {
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"  \""));
  EXPECT_FALSE(read().isAdjustedEOPFile());
  EXPECT_TRUE(read().isUseOriginalEOP());
}

TEST_F(StripFile, AdjustedOrientationIsUsedUnlessTheOriginalIsWanted) {
  mStrip.writeEop(mFolder, "better.eop", 5.0);
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  EXPECT_TRUE(read().isUseAdjustedEOP());
  EXPECT_EQ(read().eopFileName(), mFolder / "better.eop");
  KESStripModelData const original = read(false, true);
  EXPECT_TRUE(original.isAdjustedEOPFile());
  EXPECT_FALSE(original.isUseAdjustedEOP());
  EXPECT_EQ(original.eopFileName(), mFolder / "flight.eop");
}

TEST_F(StripFile, WritingEntersTheAdjustedFileName) {
  KESStripModelData data = read();
  data.setAdjustedEOPFileName("/somewhere/else/new.eop");
  data.write(mFile);
  EXPECT_THAT(contents(), testing::HasSubstr("filename_adjusted=\"new.eop\""));
  EXPECT_EQ(read(false, true).adjustedEOPFileName(), mFolder / "new.eop");
}

TEST_F(StripFile, WritingAnotherFileChangesThatOne) {
  std::string const other = mFolder.file("other.stp", "<Strip version=\"1.0\">\n<EOP filename=\"\xC3\xA4\"/></Strip>");
  KESStripModelData data = read();
  data.setAdjustedEOPFileName("new.eop");
  data.write(other);
  EXPECT_EQ(data.fileName(), other);
  std::string const text = test::contents(other);
  EXPECT_THAT(text, testing::HasSubstr("filename_adjusted=\"new.eop\""));
  EXPECT_THAT(text, testing::HasSubstr("\xC3\xA4"));
  EXPECT_EQ(contents(), mStrip.text());
}

TEST_F(StripFile, FileThatNoLongerParsesBecomesAnEmptyDocument) {
  KESStripModelData data = read();
  mFolder.file("strip.stp", "<Strip><EOP></Strip>");
  data.write(mFile);
  EXPECT_THAT(contents(), testing::Not(testing::HasSubstr("<Strip")));
}

TEST_F(StripFile, DocumentWithoutAnOrientationGetsNoAttribute) {
  std::string const other = mFolder.file("other.stp", "<Strip version=\"1.0\"/>");
  KESStripModelData data = read();
  data.setAdjustedEOPFileName("new.eop");
  data.write(other);
  EXPECT_THAT(test::contents(other), testing::Not(testing::HasSubstr("new.eop")));
}

TEST_F(StripFile, WritingWhatIsMissingSaysSo) {
  KESStripModelData data = read();
  EXPECT_MESSAGE(data.write(mFolder / "none.stp"), "Unable to open Stp file");
  EXPECT_EQ(data.fileName(), mFile);
}

TEST_F(StripFile, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::string const large = "<Strip version=\"1.0\"><EOP/><!--" + std::string(20000, 'x') + "--></Strip>";
  std::string const name = disk / "strip.stp";
  {
    FILE* out = fopen(name.c_str(), "wb");
    fwrite(large.data(), 1, large.size(), out);
    fclose(out);
  }
  disk.fill(4096);
  KESStripModelData data = read();
  EXPECT_MESSAGE(data.write(name), "Unable to update Stp file");
  EXPECT_EQ(test::contents(name), large);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

TEST_F(StripFile, ValidityStopsAtTheFirstThingThatIsMissing) {
  auto const validity = [&](std::string const& text, bool images) {
    mFolder.file("strip.stp", text);
    std::string message = "before;";
    bool const valid = read().isDataValid(message, images);
    EXPECT_EQ(valid, message == "before;");
    return message.substr(7);
  };
  EXPECT_EQ(validity(mStrip.text(), false), "");
  EXPECT_EQ(validity(with("location=\"raw\"", "location=\"r\""), false),
            "Raw data location: " + (mFolder / "r") + " doesn't exist!\n");
  EXPECT_EQ(validity(with("location=\"images\"", "location=\"i\""), false),
            "Image data location: " + (mFolder / "i") + " doesn't exist!\n");
  mFolder.file("flight2.eop", test::contents(mFolder / "flight.eop"));
  EXPECT_EQ(validity(mStrip.text(), true), "Image: " + (mFolder / "images/PANN00A.tif") + " doesn't exist!\n");
  mFolder.file("images/PANN00A.tif", "");
  EXPECT_EQ(validity(mStrip.text(), true), "Footprint file: " + (mFolder / "PANN00A.xml") + " doesn't exist!\n");
  EXPECT_EQ(validity(with("PANN00A.ctg", "none.ctg"), true),
            "CTG file: " + (mFolder / "none.ctg") + " doesn't exist!\n");
  mFolder.file("PANN00A.xml", "");
  EXPECT_EQ(validity(mStrip.text(), true), "");
}

TEST_F(StripFile, ValidityLooksForBothOrientations) {
  KESStripModelData data = read();
  std::string message;
  data.setAdjustedEOPFileName(mFolder / "gone.adj");
  EXPECT_FALSE(data.isDataValid(message, false));
  EXPECT_EQ(message, "Adjusted EOP file: " + (mFolder / "gone.adj") + " doesn't exist!\n");
  message.clear();
  data.setOriginalEOPFileName(mFolder / "gone.eop");
  EXPECT_FALSE(data.isDataValid(message, false));
  EXPECT_EQ(message, "Original EOP file: " + (mFolder / "gone.eop") + " doesn't exist!\n");
}

}  // namespace
