// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <filesystem>

namespace {

using sensor::KESStripModelData;

class StripFile : public test::StripFolder {};

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
  std::string text = with(calibration, "");
  EXPECT_EQ(messageOf(text.replace(text.find("<RawData location=\"raw\"/>"), 25, "")),
            "Missing element: \"Calibration\"");
}

TEST_F(StripFile, MissingAttributesAreNamed) {
  EXPECT_EQ(messageOf(with("<Calibration version=\"v001\"", "<Calibration")),
            "Missing attribute \"version\" for element \"Calibration\"!");
  EXPECT_EQ(messageOf(with(" sensor_id=\"" + mStrip.sensorId + "\"", "")),
            "Missing attribute \"sensor_id\" for element \"Calibration\"!");
  EXPECT_EQ(messageOf(with("<RawData location=\"raw\"/>", "<RawData/>")),
            "Missing attribute \"location\" for element \"RawData\"!");
}

TEST_F(StripFile, FirstOfSeveralFaultsIsNamed) {
  EXPECT_EQ(messageOf("<Block version=\"2.0\"/>"), "Wrong file format: expected \"Strip\" but saw \"Block\"");
  EXPECT_EQ(messageOf("<Strip version=\"2.0\"><RawData/></Strip>"),
            "Wrong file version: expected \"1.0\" but saw \"2.0\"");
  EXPECT_EQ(messageOf("<Strip version=\"1.0\"><Calibration/></Strip>"),
            "Missing attribute \"version\" for element \"Calibration\"!");
  EXPECT_EQ(messageOf("<Strip version=\"1.0\"><RawData/></Strip>"),
            "Missing attribute \"location\" for element \"RawData\"!");
  std::string text = with("\"v001\"", "\"v009\"");
  text.replace(text.find("flight.eop"), 10, "no_one.eop");
  std::string const noCamera = "No calibration found for sensor KESA0 ID: " + mStrip.sensorId + " version: v009\n";
  EXPECT_EQ(messageOf(text), noCamera);
  text.replace(text.find("<RawData location=\"raw\"/>"), 25, "");
  EXPECT_EQ(messageOf(text), "Missing element: \"RawData\"");
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

TEST_F(StripFile, WithoutAnOrientationLoadingFails) {
  mFolder.file("strip.stp", with("<EOP filename=\"flight.eop\"/>", ""));
  KESStripModelData data = read();
  EXPECT_EQ(data.eopFileName(), "");
  EXPECT_MESSAGE(data.loadData(false, false), "failed to open EOP file: ");
  EXPECT_EQ(messageOf(with(" filename=\"flight.eop\"", "")), "failed to open EOP file: " + (mFolder / ""));
}

TEST_F(StripFile, RelativePathIsKeptAndItsFolderMadeAbsolute) {
  std::string const relative = std::filesystem::relative(mFile).string();
  KESStripModelData const data(relative, nullptr, false, false, false);
  EXPECT_EQ(data.fileName(), relative);
  EXPECT_EQ(data.rawDataLocation(), mFolder / "raw");
  EXPECT_EQ(data.originalEOPFileName(), mFolder / "flight.eop");
}

TEST_F(StripFile, LaterElementsOverwriteEarlierOnes) {
  std::string text =
      with("<Calibration ", "<EOP filename=\"x\" filename_adjusted=\"y\"/><RawData location=\"z\"/>"
                            "<Calibration version=\"v7\" sensor_id=\"7\" sensor_type=\"T\"/><Calibration ");
  auto const data = readText(text);
  EXPECT_EQ(data->originalEOPFileName(), mFolder / "flight.eop");
  EXPECT_EQ(data->adjustedEOPFileName(), "");
  EXPECT_EQ(data->rawDataLocation(), mFolder / "raw");
  EXPECT_EQ(data->cameraVersion(), "v001");
  EXPECT_EQ(data->sensorId(), mStrip.sensorId);
  EXPECT_EQ(data->sensorType(), "KESA0");
}

TEST_F(StripFile, ImagesAreNamedExactlySo) {
  EXPECT_EQ(readText(with("<Image ", "<image band=\"X\"/><Images band=\"Y\"/><Image "))->numBands(), 1);
}

TEST_F(StripFile, CalibrationIsKeptAsText) {
  // The camera is in the factory, under its id and the number of its version alone.
  read();
  auto const data = readText(with("<Calibration version=\"v001\"", "<Calibration sensor_type=\"\" version=\"xv1 \""));
  EXPECT_EQ(data->sensorType(), "");
  EXPECT_EQ(data->cameraVersion(), "xv1 ");
  EXPECT_EQ(data->camera().version(), 1U);
}

TEST_F(StripFile, OtherEncodingsAreRead) {
  std::string text = with("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\"");
  text.replace(text.find("Small"), 5, "\xE4");
  EXPECT_EQ(readText(text)->name(), "\xC3\xA4");
  std::u16string wide = u"\uFEFF";
  for (char const c : with("encoding=\"UTF-8\"", "encoding=\"UTF-16\"")) {
    wide += static_cast<char16_t>(c);
  }
  EXPECT_EQ(readText({reinterpret_cast<char const*>(wide.data()), 2 * wide.size()})->name(), "Small");
}

TEST_F(StripFile, OrientationFilesArentTrimmed) {
  mStrip.writeEop(mFolder, " b.eop ");
  auto const data = readText(with("\"flight.eop\"", "\" a.eop\" filename_adjusted=\" b.eop \""));
  EXPECT_EQ(data->originalEOPFileName(), mFolder / " a.eop");
  EXPECT_EQ(data->adjustedEOPFileName(), mFolder / " b.eop ");
}

TEST_F(StripFile, AbsoluteOrientationFilesStayAsTheyAre) {
  mStrip.writeEop(mFolder, "elsewhere/a.eop");
  mStrip.writeEop(mFolder, "elsewhere/b.eop");
  auto const data = readText(with("\"flight.eop\"", "\"" + mFolder.path() + "/elsewhere//a.eop\" filename_adjusted=\"" +
                                                        mFolder.path() + "/elsewhere/b.eop\""));
  EXPECT_EQ(data->originalEOPFileName(), mFolder / "elsewhere//a.eop");
  EXPECT_EQ(data->adjustedEOPFileName(), mFolder / "elsewhere/b.eop");
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

}  // namespace
