// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV2Xml.h>

#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <sys/stat.h>

namespace {

using sensor::CameraKes;
using sensor::SerializerCameraKesV2Xml;
using test::XmlFolder;

// What each test leaves must have left alone: the folder that the camera was read from, byte for byte.
class FailedV2Xml : public testing::Test {
protected:
  FailedV2Xml() : mSource(XmlFolder().write(mFolder, "source")), mBefore(files(mSource)) {}
  ~FailedV2Xml() override { EXPECT_EQ(files(mSource), mBefore); }

  static std::map<std::string, std::string> files(std::string const& folder) {
    std::map<std::string, std::string> result;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
      result[entry.path().filename()] = test::contents(entry.path());
    }
    return result;
  }
  std::string path(std::string const& folder) const { return folder + "/" + XmlFolder::geometryName; }
  void expect(std::string const& target, std::string const& message) const {
    EXPECT_EQ(messageOfWrite(target), message);
  }
  std::string messageOfWrite(std::string const& target) const {
    return test::messageOf([&] { SerializerCameraKesV2Xml(target).write(mCamera.get()); });
  }

  test::TempFolder mFolder;
  std::string mSource;
  std::map<std::string, std::string> mBefore;
  std::unique_ptr<CameraKes> mCamera = std::make_unique<CameraKes>("HDB00", "90", 2, SerializerCameraKesV2Xml(mSource));
};

// Fills a camera with nothing.
class NoSerializer : public sensor::SerializerCameraKes {
public:
  NoSerializer() : SerializerCameraKes("") {}
  void read(CameraKes* /*camera*/) const override {}
  void write(CameraKes const* /*camera*/) const override {}
};

TEST_F(FailedV2Xml, CameraWithoutBandsIsntWritten) {
  mCamera = std::make_unique<CameraKes>("HDB00", "90", 2, NoSerializer());
  expect(mFolder.folder("target"), "No band defined!");
  EXPECT_EQ(test::entryCount(mFolder / "target"), 0);
}

TEST_F(FailedV2Xml, CameraOfAnotherFolderIsntWritten) {
  std::string const other = mFolder.folder("other");
  mCamera->setCalibrationFolder(other);
  expect(mFolder.folder("target"), "Could not find unique file with keyword Geometry in folder " + other);
}

TEST_F(FailedV2Xml, FolderItCameFromIsntOverwritten) {
  expect(mSource, "Impossible to create new calibration at " + mSource + " for " + path(mSource));
}

TEST_F(FailedV2Xml, FolderMustExist) {
  std::string const none = mFolder / "none";
  expect(none, "Impossible to create new calibration at " + none + " for " + path(mSource));
}

TEST_F(FailedV2Xml, FileOfTheSameNameStays) {
  std::string const file = mFolder.file(std::string("target/") + XmlFolder::dsnuName, "mine");
  expect(mFolder / "target", "Impossible to create new calibration at " + (mFolder / "target") + " for " + mSource +
                                 "/" + XmlFolder::dsnuName);
  EXPECT_EQ(test::contents(file), "mine");
  // Copied before.
  EXPECT_EQ(test::entryCount(mFolder / "target"), 3);
}

TEST_F(FailedV2Xml, FolderWithAnotherFileOfAKeywordIsRefusedAfterCopying) {
  mFolder.file("target/Another_SensorData.xml", "");
  expect(mFolder / "target", "Could not find unique file with keyword SensorData in folder " + (mFolder / "target"));
}

TEST_F(FailedV2Xml, OtherCountOfPixelsIsRefused) {
  std::vector<double> const two{0.0, 1e-5};
  mCamera->calibrationGeometry("PANF")->setPixelData(1e-5F, 3, 3, two, two);
  std::string const target = mFolder.folder("target");
  expect(target, "Inconsistent vector size!");
  // What was changed before is saved all the same.
  EXPECT_THAT(test::contents(path(target)), testing::HasSubstr("<Row_mm>1.50000 1.25000 1.00000</Row_mm>"));
  EXPECT_EQ(test::entryCount(target), 4);
}

TEST_F(FailedV2Xml, BandThatTheFilesDontHaveIsRefused) {
  auto line = std::make_unique<sensor::CalibrationGeometryKes>(*mCamera->calibrationGeometry("PANF"));
  line->setBandId("RED");
  mCamera->addCalibrationGeometry(line.release());
  expect(mFolder.folder("target"), "Sensor data not found (RED)");
}

TEST_F(FailedV2Xml, FileWithoutSystemIsRefusedAtItsFirstWrite) {
  XmlFolder files;
  files.geometry.erase(files.geometry.find("<System "),
                       files.geometry.find("<Creation ") - files.geometry.find("<System "));
  mCamera->setCalibrationFolder(files.write(mFolder, "without"));
  expect(mFolder.folder("target"), "XML writer: Missing necessary Information (TAG:Type)");
  // The part that was written.
  EXPECT_THAT(test::contents(path(mFolder / "target")),
              testing::EndsWith("<!--Corvane KES camera calibration file-->"));
}

// Were the file not written before the pixels are adjusted, their count would be reported.
TEST_F(FailedV2Xml, FileIsWrittenBeforeThePixelsAreAdjusted) {
  XmlFolder files;
  files.geometry.erase(files.geometry.find("<System "),
                       files.geometry.find("<Creation ") - files.geometry.find("<System "));
  mCamera->setCalibrationFolder(files.write(mFolder, "without"));
  std::vector<double> const two{0.0, 1e-5};
  mCamera->calibrationGeometry("PANF")->setPixelData(1e-5F, 3, 3, two, two);
  expect(mFolder.folder("target"), "XML writer: Missing necessary Information (TAG:Type)");
}

// The adjustment made a number of a pixel that can't be compared.
TEST_F(FailedV2Xml, LastWriteIsTheLastToBeReported) {
  mCamera->calibrationGeometry("PANF")->shiftX(std::numeric_limits<float>::quiet_NaN());
  std::string const target = mFolder.folder("target");
  expect(target, "XML file not complete");
  EXPECT_THAT(test::contents(path(target)), testing::HasSubstr("<Row_mm>nan nan nan</Row_mm>"));
}

TEST_F(FailedV2Xml, FullDiskIsReportedAndLeavesNoTemporaryFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system of its own";
  }
  disk.fill();
  std::string const message = messageOfWrite(disk.path());
  EXPECT_EQ(message, "Impossible to create new calibration at " + disk.path() + " for " + path(mSource));
  for (auto const& entry : std::filesystem::directory_iterator(disk.path())) {
    EXPECT_EQ(entry.path().string().find("qt_temp"), std::string::npos) << entry.path();
  }
}

// Each copy fits into the page that is left for it, but the geometry, whose numbers get five decimals, doesn't fit
// again.
TEST_F(FailedV2Xml, DiskThatFillsUpAfterCopyingKeepsTheCopies) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system of its own";
  }
  XmlFolder files;
  std::string list;
  for (int i = 0; i < 200; ++i) {
    list += "1 ";
  }
  for (char const* before : {"<Row_mm>-3 -2.5", "<Column_mm>0.026 -0.026", "<SigmaRow_mm>0 0", "<SigmaColumn_mm>0 0"}) {
    std::string const text(before);
    files.geometry = test::with(files.geometry, text, text.substr(0, text.find('>') + 1) + list);
  }
  files.geometry = test::with(files.geometry, "\"BLUE\" Columns=\"2\"", "\"BLUE\" Columns=\"200\"");
  std::string const source = files.write(mFolder, "big");
  mCamera = std::make_unique<CameraKes>("HDB00", "90", 2, SerializerCameraKesV2Xml(source));
  auto const before = FailedV2Xml::files(source);
  constexpr int page = 4096;
  ASSERT_LT(files.geometry.size(), static_cast<std::size_t>(page));
  disk.fill(4 * page);
  EXPECT_EQ(messageOfWrite(disk.path()), "XML writer: Can't write File: " + path(disk.path()));
  EXPECT_EQ(test::contents(path(disk.path())), files.geometry);
  EXPECT_EQ(test::contents(disk / XmlFolder::dsnuName), files.dsnu);
  EXPECT_EQ(FailedV2Xml::files(source), before);
}

// Files that are read only are copied with that.
TEST_F(FailedV2Xml, CopyOfAProtectedFileCanBeWritten) {
  ::chmod(path(mSource).c_str(), 0444);
  std::string const target = mFolder.folder("target");
  SerializerCameraKesV2Xml(target).write(mCamera.get());
  struct stat status {};
  ASSERT_EQ(::stat(path(target).c_str(), &status), 0);
  EXPECT_NE(status.st_mode & S_IWUSR, 0U);
}

}  // namespace
