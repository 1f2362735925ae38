// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/FailingReads.h"
#include "support/Matchers.h"
#include "support/Slots.h"
#include "support/XmlFolder.h"

#include <xmlFileData/Creation.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/KesCalibrationInterface.h>

#include <filesystem>
#include <type_traits>

namespace {

using test::contents;
using test::with;
using test::XmlFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using xmlFileData::KesCalibrationInterface;

class KesCalibration : public testing::Test {
protected:
  std::string write() const { return mFiles.write(mFolder, "source"); }
  std::string messageOfLoad() const {
    KesCalibrationInterface calibration(write(), "");
    return test::messageOf([&] { calibration.load(); });
  }
  static std::string notUnique(std::string const& keyword, std::string const& folder) {
    return "Could not find unique file with keyword " + keyword + " in folder " + folder;
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;
};

TEST_F(KesCalibration, AnswersForEachBand) {
  KesCalibrationInterface calibration(write(), "schemas");
  calibration.load();
  EXPECT_THAT(calibration.bandIds(), ElementsAre("BLUE", "PANF"));
  EXPECT_EQ(calibration.calibrationNote(), "Made in Works, Bench (first)");
  EXPECT_EQ(calibration.principalDistance(), 62.5);
  EXPECT_EQ(calibration.misalignment().SigmaPhi, 0.5);
  EXPECT_EQ(calibration.geometryCreation().Time, "141530");
  EXPECT_EQ(calibration.prnuCreation().Time, "091500");
  EXPECT_EQ(calibration.pixelSize("PANF"), 0.0065);
  EXPECT_THAT(calibration.pixelRows("BLUE"), ElementsAre(-3.0, -2.5));
  EXPECT_THAT(calibration.pixelColumns("BLUE"), ElementsAre(0.026, -0.026));
  EXPECT_EQ(calibration.imagingPixels("PANF"), 2);
  EXPECT_EQ(calibration.prnuWidth("BLUE"), 5);
  EXPECT_EQ(calibration.prnuHeight("BLUE"), 2);
  EXPECT_THAT(calibration.prnuRow("BLUE", 1), testing::Each(0.5F));
  EXPECT_THAT(calibration.dsnuRow("BLUE", 1), ElementsAre(6, 7, 8, 9, 10));
  EXPECT_EQ(calibration.radiometricGain("PANF"), 0.8);
  EXPECT_EQ(calibration.centerWavelength("PANF"), 560.0);
  EXPECT_EQ(calibration.bandWidth("PANF"), 210.0);
  EXPECT_EQ(calibration.nonLinearity("PANF").at(0).columnEnd, 3);
}

TEST_F(KesCalibration, BandThatIsntThereIsNamed) {
  KesCalibrationInterface calibration(write(), "");
  calibration.load();
  EXPECT_MESSAGE(calibration.pixelSize("RED"), "Sensor data not found (RED)");
  EXPECT_MESSAGE(calibration.imagingPixels("RED"), "Sensor data not found (RED)");
  EXPECT_MESSAGE(calibration.prnuWidth("RED"), "Sensor data not found (RED)");
  EXPECT_MESSAGE(calibration.dsnuRow("RED", 0), "Sensor data not found (RED)");
  EXPECT_MESSAGE(calibration.prnuRow("PANF", 1), "Internal error due to bad TDI index.");
  EXPECT_MESSAGE(calibration.dsnuRow("PANF", -1), "Internal error due to bad TDI index.");
}

// "PAN" is contained in "Line_panf27" alone, and is no whole type.
TEST_F(KesCalibration, CorrectionsAreFoundByContainmentAndAllElseByTheWholeType) {
  KesCalibrationInterface calibration(write(), "");
  calibration.load();
  EXPECT_EQ(calibration.imagingPixels("PAN"), 2);
  EXPECT_EQ(calibration.pixelSize("panf"), 0.0065);
  EXPECT_EQ(calibration.prnuWidth("Panf"), 3);
  EXPECT_MESSAGE(calibration.pixelSize("PAN"), "Sensor data not found (PAN)");
  EXPECT_MESSAGE(calibration.prnuWidth("PAN"), "Sensor data not found (PAN)");
  EXPECT_MESSAGE(calibration.dsnuRow("PAN", 0), "Sensor data not found (PAN)");
}

TEST_F(KesCalibration, WithoutLoadingThereIsNothing) {
  KesCalibrationInterface calibration(mFolder / "none", "");
  EXPECT_MESSAGE(calibration.bandIds(), "No calibration loaded");
  EXPECT_MESSAGE(calibration.pixelRows("PANF"), "No calibration loaded");
  EXPECT_MESSAGE(calibration.setDate(""), "No calibration loaded");
  EXPECT_MESSAGE(calibration.load(), notUnique("Geometry", mFolder / "none"));
  EXPECT_MESSAGE(calibration.bandIds(), "No calibration loaded");
}

TEST_F(KesCalibration, FilesAreFoundByTheirKeywords) {
  std::string const folder = write();
  KesCalibrationInterface const calibration(folder, "");
  EXPECT_EQ(calibration.findFile("PrnuData"), folder + "/T_PrnuData.xml");
  EXPECT_MESSAGE(calibration.findFile("Nothing"), notUnique("Nothing", folder));
  mFolder.file("source/x_PrnuData.xml.bak", "");
  EXPECT_MESSAGE(calibration.findFile("PrnuData"), notUnique("PrnuData", folder));
  mFolder.folder("source/DsnuData");
  EXPECT_EQ(calibration.findFile("DsnuData"), folder + "/T_DsnuData.xml");
}

TEST_F(KesCalibration, KeywordMayStandAnywhereInTheName) {
  mFolder.file("source/PrnuData.xml.bak", mFiles.prnu);
  mFolder.file("source/a_Geometry", mFiles.geometry);
  mFolder.file("source/SensorData.1", mFiles.sensor);
  mFolder.file("source/.b DsnuData", mFiles.dsnu);
  mFolder.file("source/b DsnuData", mFiles.dsnu);
  KesCalibrationInterface calibration(mFolder / "source", "");
  calibration.load();
  EXPECT_EQ(calibration.bandIds().size(), 2U);
}

TEST_F(KesCalibration, IncompleteFolderIsRefusedBeforeAnythingIsParsed) {
  std::string const folder = mFolder.folder("source");
  KesCalibrationInterface calibration(folder, "");
  EXPECT_MESSAGE(calibration.load(), notUnique("Geometry", folder));
  mFolder.file("source/Geometry", "no xml");
  EXPECT_MESSAGE(calibration.load(), notUnique("PrnuData", folder));
  mFolder.file("source/PrnuData", "no xml");
  EXPECT_MESSAGE(calibration.load(), notUnique("DsnuData", folder));
  mFolder.file("source/DsnuData", "no xml");
  EXPECT_MESSAGE(calibration.load(), notUnique("SensorData", folder));
  mFolder.file("source/SensorData", "no xml");
  EXPECT_MESSAGE(calibration.load(), "XML reader: Can't find start element: " + folder + "/Geometry");
  mFolder.file("source/Geometry", mFiles.geometry);
  EXPECT_MESSAGE(calibration.load(), "XML reader: Can't find start element: " + folder + "/SensorData");
  mFolder.file("source/SensorData", mFiles.sensor);
  EXPECT_MESSAGE(calibration.load(), "XML reader: Can't find start element: " + folder + "/PrnuData");
  mFolder.file("source/PrnuData", mFiles.prnu);
  EXPECT_MESSAGE(calibration.load(), "XML reader: Can't find start element: " + folder + "/DsnuData");
}

TEST_F(KesCalibration, FilesOfOtherVersionsAreRefused) {
  for (char const* version : {"1.1.0", "2.0.0", "0.0.0"}) {
    for (auto const& [text, told] : {std::pair(&mFiles.dsnu, "dsnu"),
                                     {&mFiles.prnu, "prnu"},
                                     {&mFiles.sensor, "radiometric"},
                                     {&mFiles.geometry, "geometric"}}) {
      *text = with(*text, "1.0.7", version);
      EXPECT_EQ(messageOfLoad(), std::string("Error while reading ") + told + " calibration. Unknown version.");
    }
    mFiles = XmlFolder();
  }
}

TEST_F(KesCalibration, BandOfTwoLinesKeepsTheFirst) {
  mFiles.geometry = with(mFiles.geometry, "Channel=\"BLUE\"", "Channel=\"PANF\"");
  KesCalibrationInterface calibration(write(), "");
  calibration.load();
  EXPECT_THAT(calibration.bandIds(), ElementsAre("PANF"));
  EXPECT_THAT(calibration.pixelRows("PANF"), ElementsAre(1.5, 1.25, 1.0));
}

TEST_F(KesCalibration, GridOfTwoRowsHasNoPixels) {
  std::string const& text = mFiles.geometry;
  std::string const row = text.substr(text.find("<GridRow"), text.find("</GridRow>") + 10 - text.find("<GridRow"));
  mFiles.geometry = with(with(text, row, row + row), "\"PANF\" Columns", "\"PANF\" Rows=\"2\" Columns");
  KesCalibrationInterface calibration(write(), "");
  calibration.load();
  EXPECT_MESSAGE(calibration.pixelRows("PANF"), "Bad calibration format, only one row expected.");
  EXPECT_MESSAGE(calibration.pixelColumns("PANF"), "Bad calibration format, only one row expected.");
  EXPECT_MESSAGE(calibration.setPixels("PANF", {1, 2, 3}, {1, 2, 3}), "Bad calibration format, only one row expected.");
}

TEST_F(KesCalibration, ChangesAreWrittenAtTheEnd) {
  std::string const folder = write();
  std::string const file = folder + "/" + XmlFolder::geometryName;
  {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    calibration.setLocation("Elsewhere");
    calibration.setPixels("PANF", {1, 2, 3}, {4, 5, 6});
    EXPECT_EQ(contents(file), mFiles.geometry);
  }
  EXPECT_THAT(contents(file), HasSubstr("Location=\"Elsewhere\""));
  EXPECT_THAT(contents(file), HasSubstr("<Row_mm>1.00000 2.00000 3.00000</Row_mm>"));
  EXPECT_THAT(contents(file), HasSubstr("<Column_mm>4.00000 5.00000 6.00000</Column_mm>"));
}

TEST_F(KesCalibration, WithoutChangesNothingIsWritten) {
  std::string const folder = write();
  {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    EXPECT_MESSAGE(calibration.setPixels("PANF", {1, 2}, {4, 5, 6}), "Inconsistent vector size!");
    EXPECT_MESSAGE(calibration.setPixels("RED", {}, {}), "Sensor data not found (RED)");
  }
  EXPECT_EQ(contents(folder + "/" + XmlFolder::geometryName), mFiles.geometry);
}

TEST_F(KesCalibration, SavedChangesArentWrittenAgain) {
  std::string const folder = write();
  std::string const file = folder + "/" + XmlFolder::geometryName;
  {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    calibration.setDateTimeType("local");
    calibration.save();
    EXPECT_THAT(contents(file), HasSubstr("<DateTime Type=\"local\""));
    mFolder.file(std::string("source/") + XmlFolder::geometryName, "other");
  }
  EXPECT_EQ(contents(file), "other");
}

// A link keeps the old file, which a write into it would change.
TEST_F(KesCalibration, SavedGeometryTakesThePlaceOfTheOldFile) {
  std::string const folder = write();
  std::string const file = folder + "/" + XmlFolder::geometryName;
  std::filesystem::create_hard_link(file, mFolder / "old");
  KesCalibrationInterface calibration(folder, "");
  calibration.load();
  calibration.setLocation("Elsewhere");
  calibration.save();
  EXPECT_THAT(contents(file), HasSubstr("Location=\"Elsewhere\""));
  EXPECT_EQ(contents(mFolder / "old"), mFiles.geometry);
  EXPECT_EQ(test::entryCount(folder), 4);
}

TEST_F(KesCalibration, FullDiskKeepsTheSavedGeometry) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system of its own";
  }
  std::string const file = disk / XmlFolder::geometryName;
  std::filesystem::copy(write(), disk.path());
  {
    KesCalibrationInterface calibration(disk.path(), "");
    calibration.load();
    disk.fill();
    calibration.setLocation("Elsewhere");
    EXPECT_MESSAGE(calibration.save(), "XML writer: Can't write File: " + file);
    // It still waits to be saved.
    std::filesystem::remove(disk / XmlFolder::prnuName);
    std::filesystem::remove(disk / XmlFolder::dsnuName);
    EXPECT_EQ(contents(file), mFiles.geometry);
  }
  EXPECT_THAT(contents(file), HasSubstr("Location=\"Elsewhere\""));
}

// 0.1 is stored; 0.1 + (1e-18 - 0.1) is 0, as 1e-18 is lost beside 0.1.
TEST_F(KesCalibration, MisalignmentMovesByTheDifference) {
  KesCalibrationInterface calibration(write(), "");
  calibration.load();
  calibration.setMisalignment(1e-18, 2, 3, 4, 5, 6);
  xmlFileData::GeoMisalignment const m = calibration.misalignment();
  EXPECT_EQ(m.Omega, 0.0);
  EXPECT_EQ(m.Phi, 2.0);
  EXPECT_EQ(m.Kappa, 3.0);
  EXPECT_EQ(m.SigmaOmega, 4.0);
  EXPECT_EQ(m.SigmaPhi, 5.0);
  EXPECT_EQ(m.SigmaKappa, 6.0);
}

TEST_F(KesCalibration, CopiesGoOnInTheNewFolder) {
  std::string const source = write();
  std::string const target = mFolder.folder("target");
  {
    KesCalibrationInterface calibration(source, "");
    calibration.load();
    calibration.createAt(target);
    EXPECT_EQ(calibration.findFile("SensorData"), target + "/T_SensorData.xml");
    calibration.setTime("000000");
  }
  EXPECT_EQ(contents(source + "/" + XmlFolder::geometryName), mFiles.geometry);
  EXPECT_THAT(contents(target + "/" + XmlFolder::geometryName), HasSubstr("Time=\"000000\""));
  EXPECT_EQ(contents(target + "/T_SensorData.xml"), mFiles.sensor);
  EXPECT_EQ(contents(target + "/T_PrnuData.xml"), mFiles.prnu);
  EXPECT_EQ(contents(target + "/T_DsnuData.xml"), mFiles.dsnu);
  EXPECT_EQ(test::entryCount(target), 4);
}

TEST_F(KesCalibration, ChangesAreSavedBeforeCopying) {
  std::string const source = write();
  KesCalibrationInterface calibration(source, "");
  calibration.load();
  calibration.setDate("20200101");
  calibration.createAt(mFolder.folder("target"));
  EXPECT_THAT(contents(source + "/" + XmlFolder::geometryName), HasSubstr("Date=\"20200101\""));
  EXPECT_EQ(calibration.geometryCreation().Date, "20200101");
}

TEST_F(KesCalibration, NamesOfCopiesLoseWhatStandsBetweenTheDots) {
  mFolder.file("source/a.b_Geometry.c.xml", mFiles.geometry);
  KesCalibrationInterface calibration(mFolder / "source", "");
  mFolder.file("source/PrnuData.xml.bak", mFiles.prnu);
  mFolder.file("source/DsnuData", mFiles.dsnu);
  mFolder.file("source/SensorData.xml", mFiles.sensor);
  calibration.load();
  std::string const target = mFolder.folder("target");
  // The first copy loses its keyword.
  EXPECT_MESSAGE(calibration.createAt(target), notUnique("Geometry", target));
  EXPECT_EQ(contents(target + "/a.xml"), mFiles.geometry);
  EXPECT_EQ(contents(target + "/PrnuData.bak"), mFiles.prnu);
  EXPECT_EQ(contents(target + "/DsnuData."), mFiles.dsnu);
}

TEST_F(KesCalibration, CopyOverwritesNothing) {
  std::string const source = write();
  for (char const* name : {XmlFolder::geometryName, XmlFolder::prnuName, XmlFolder::dsnuName, XmlFolder::sensorName}) {
    std::string const target = std::string("target of ") + name;
    mFolder.file(target + "/" + name, "mine");
    KesCalibrationInterface calibration(source, "");
    calibration.load();
    EXPECT_MESSAGE(calibration.createAt(mFolder / target),
                   "Impossible to create new calibration at " + (mFolder / target) + " for " + source + "/" + name);
    EXPECT_EQ(contents(mFolder / target + "/" + name), "mine");
    EXPECT_EQ(calibration.findFile("Geometry"), source + "/" + XmlFolder::geometryName);
  }
}

TEST_F(KesCalibration, CopyNeedsFilesThatCanBeRead) {
  std::string const source = write();
  std::string const target = mFolder.folder("target");
  KesCalibrationInterface calibration(source, "");
  calibration.load();
  test::FailingReads const badDisk(0);
  EXPECT_MESSAGE(calibration.createAt(target), "Impossible to create new calibration at " + target + " for " + source +
                                                   "/" + XmlFolder::geometryName);
  EXPECT_EQ(test::entryCount(target), 0);
}

TEST_F(KesCalibration, CopyNeedsItsFolder) {
  std::string const source = write();
  KesCalibrationInterface calibration(source, "");
  calibration.load();
  EXPECT_MESSAGE(calibration.createAt(mFolder / "none"), "Impossible to create new calibration at " +
                                                             (mFolder / "none") + " for " + source + "/" +
                                                             XmlFolder::geometryName);
}

void changeAndLose(std::string const& folder, std::string const& file) {
  KesCalibrationInterface calibration(folder, "");
  calibration.load();
  calibration.setDate("20200101");
  std::remove(file.c_str());
}

TEST_F(KesCalibration, FailureToSaveLeavesTheDestructor) {
  std::string const folder = write();
  EXPECT_MESSAGE(changeAndLose(folder, folder + "/" + XmlFolder::geometryName), notUnique("Geometry", folder));
}

TEST_F(KesCalibration, FailureToSaveLeavesAnotherExceptionOnItsWay) {
  std::string const folder = write();
  auto const failTwice = [&] {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    calibration.setDate("20200101");
    std::remove((folder + "/" + XmlFolder::geometryName).c_str());
    throw std::runtime_error("first");
  };
  EXPECT_MESSAGE(failTwice(), "first");
}

TEST_F(KesCalibration, ChangesAreSavedWhileAnExceptionIsOnItsWay) {
  std::string const folder = write();
  auto const fail = [&] {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    calibration.setDate("20200101");
    throw std::runtime_error("first");
  };
  EXPECT_MESSAGE(fail(), "first");
  EXPECT_THAT(contents(folder + "/" + XmlFolder::geometryName), HasSubstr("Date=\"20200101\""));
}

// Its first operation of its own shows where those of the base end.
class OneMore : public KesCalibrationInterface {
public:
  using KesCalibrationInterface::KesCalibrationInterface;
  virtual void oneMore() {}
};

TEST_F(KesCalibration, OnlyTheDestructorIsVirtual) {
  EXPECT_TRUE(std::has_virtual_destructor_v<KesCalibrationInterface>);
  EXPECT_EQ(test::slotOf(&OneMore::oneMore), 2U);
}

}  // namespace
