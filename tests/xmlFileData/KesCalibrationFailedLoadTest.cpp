// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/Creation.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/KesCalibrationInterface.h>
#include <xmlFileData/NonLinearity.h>

#include <array>
#include <functional>

namespace {

using test::contents;
using test::with;
using test::XmlFolder;
using xmlFileData::KesCalibrationInterface;

// A calibration whose load fails at one of its files, after the ones before were read.
class FailedLoad : public testing::TestWithParam<int> {
protected:
  FailedLoad() {
    auto const index = static_cast<std::size_t>(GetParam());
    std::string* const texts[] = {&mFiles.geometry, &mFiles.sensor, &mFiles.prnu, &mFiles.dsnu};
    mGood = mFiles;
    *texts[index] = with(*texts[index], "1.0.7", "2.0.0");
    mMessage = std::string("Error while reading ") + std::array{"geometric", "radiometric", "prnu", "dsnu"}[index] +
               " calibration. Unknown version.";
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;
  XmlFolder mGood;
  std::string mMessage;
};

void expectNothing(KesCalibrationInterface& calibration) {
  std::function<void()> const all[] = {[&] { calibration.setMisalignment(1, 2, 3, 4, 5, 6); },
                                       [&] { calibration.setLocation("x"); },
                                       [&] { calibration.setDate("x"); },
                                       [&] { calibration.setTime("x"); },
                                       [&] { calibration.setDateTimeType("x"); },
                                       [&] {
                                         calibration.setPixels("PANF", {1, 2, 3}, {1, 2, 3});
                                       },
                                       [&] { calibration.save(); },
                                       [&] { calibration.geometryCreation(); },
                                       [&] { calibration.prnuCreation(); },
                                       [&] { calibration.calibrationNote(); },
                                       [&] { calibration.principalDistance(); },
                                       [&] { calibration.misalignment(); },
                                       [&] { calibration.bandIds(); },
                                       [&] { calibration.pixelSize("PANF"); },
                                       [&] { calibration.pixelRows("PANF"); },
                                       [&] { calibration.pixelColumns("PANF"); },
                                       [&] { calibration.imagingPixels("PANF"); },
                                       [&] { calibration.prnuWidth("PANF"); },
                                       [&] { calibration.prnuHeight("PANF"); },
                                       [&] { calibration.prnuRow("PANF", 0); },
                                       [&] { calibration.dsnuRow("PANF", 0); },
                                       [&] { calibration.nonLinearity("PANF"); },
                                       [&] { calibration.radiometricGain("PANF"); },
                                       [&] { calibration.centerWavelength("PANF"); },
                                       [&] { calibration.bandWidth("PANF"); }};
  int number = 0;
  for (auto const& operation : all) {
    EXPECT_EQ(test::messageOf(operation), "No calibration loaded") << number;
    ++number;
  }
}

TEST_P(FailedLoad, LeavesNothingLoadedAndNothingToBeSaved) {
  std::string const folder = mFiles.write(mFolder, "source");
  {
    KesCalibrationInterface calibration(folder, "");
    EXPECT_MESSAGE(calibration.load(), mMessage);
    expectNothing(calibration);
  }
  EXPECT_EQ(contents(folder + "/" + XmlFolder::geometryName), mFiles.geometry);
}

TEST_P(FailedLoad, DropsWhatWasLoadedAndChangedBefore) {
  std::string const folder = mGood.write(mFolder, "source");
  {
    KesCalibrationInterface calibration(folder, "");
    calibration.load();
    calibration.setDate("20200101");
    mFiles.write(mFolder, "source");
    EXPECT_MESSAGE(calibration.load(), mMessage);
    expectNothing(calibration);
  }
  EXPECT_EQ(contents(folder + "/" + XmlFolder::geometryName), mFiles.geometry);
}

TEST_P(FailedLoad, MayBeRepeated) {
  std::string const folder = mFiles.write(mFolder, "source");
  KesCalibrationInterface calibration(folder, "");
  EXPECT_MESSAGE(calibration.load(), mMessage);
  mGood.write(mFolder, "source");
  calibration.load();
  EXPECT_EQ(calibration.bandIds().size(), 2U);
  EXPECT_EQ(calibration.prnuWidth("PANF"), 3);
}

// Geometry, sensor data, PRNU and DSNU.
INSTANTIATE_TEST_SUITE_P(Files, FailedLoad, testing::Range(0, 4));

}  // namespace
