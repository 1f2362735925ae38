// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/CamFolder.h"
#include "support/Matchers.h"

#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QDateTime>

#include <locale>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV1;
using sensor::SerializerCameraKesV1Cam;

class CamWriter : public testing::Test {
protected:
  CamWriter() {
    describe(mGeometry);
    describe(mRadiometry);
    mGeometry.setFocalLength(0.0625F);
    mGeometry.setPixelData(0.25F, 3, 3, std::vector<float>{0.5F, 0.25F, -0.125F}, std::vector<float>{-1, 0, 1});
    mRadiometry.setRadiometricGain(1.5F);
    mRadiometry.setIrradianceGain(2.5F);
    mRadiometry.setLeftSideGain(false);
  }

  static void describe(sensor::CalibrationInfo& info) {
    info.setBandId("PANN00A");
    info.setSensorId("007");
    info.setCalibSource("Lab");
    info.setCalibDateTime(QDateTime(QDate(2010, 3, 2), QTime(4, 15, 30), Qt::UTC));
  }

  void write(sensor::CalibrationRadiometryKes const* radiometry) const {
    SerializerCameraKesV1Cam(mFolder.path()).writeCam(name(), &mGeometry, radiometry, {0.0, 0.0, 0.171});
  }
  std::string name() const { return mFolder / "out.cam"; }

  test::TempFolder mFolder;
  CalibrationGeometryKes mGeometry;
  CalibrationRadiometryKesV1 mRadiometry;
};

std::string const expectedText = "KES_CALIBRATION_FILE\t1\n"
                                 "CALIBRATION_SOURCE\t\"Lab\"\n"
                                 "CAMERA_NAME\t\"007\"\n"
                                 "SENSOR_LINE\t\"PANN00A\"\n"
                                 "CALIBRATION_DATE\t\"Mar 02 04:15:30 2010\"\n"
                                 "FOCAL_LENGTH_MM\t62.50000\n"
                                 "NUM_PIXELS\t3\n"
                                 "PIXEL_SIZE\t250.00000\n"
                                 "RADIOMETRIC_GAIN\t1.50000\n"
                                 "IRRADIANCE_GAIN\t2.50000\n"
                                 "LEFTSIDE_GAIN\t0\n"
                                 "MNT_Z_OFFSET\t0.17100\n"
                                 "START_XY\n"
                                 "500.00000 -1000.00000\n"
                                 "250.00000 0.00000\n"
                                 "-125.00000 1000.00000\n"
                                 "END_XY\n";

TEST_F(CamWriter, FileHasItsLinesInOrder) {
  write(&mRadiometry);
  EXPECT_EQ(test::contents(name()), expectedText);
}

TEST_F(CamWriter, NumbersAreRoundedAsTheCLocaleDoes) {
  // Times 1000 the float below is 239796.515625 mm, a tie that goes to the even digit.
  float const tie = 239.796515625F;
  ASSERT_EQ(tie * 1000.0F, 239796.515625F);
  mGeometry.setPixelData(0.25F, 2, 2, std::vector<float>{-1e-9F, tie}, std::vector<float>{1, 2});
  write(&mRadiometry);
  EXPECT_THAT(test::contents(name()), testing::HasSubstr("START_XY\n-0.00000 1000.00000\n239796.51562 2000.00000\n"));
}

TEST_F(CamWriter, DateIsWrittenInItsOwnTimeZone) {
  mGeometry.setCalibDateTime(QDateTime(QDate(2010, 12, 31), QTime(23, 5, 6), Qt::OffsetFromUTC, -7200));
  write(&mRadiometry);
  EXPECT_THAT(test::contents(name()), testing::HasSubstr("CALIBRATION_DATE\t\"Dec 31 23:05:06 2010\"\n"));
}

TEST_F(CamWriter, WithoutADateItsLineIsLeftOut) {
  mGeometry.setCalibDateTime(QDateTime());
  write(&mRadiometry);
  EXPECT_THAT(test::contents(name()), testing::HasSubstr("SENSOR_LINE\t\"PANN00A\"\nFOCAL_LENGTH_MM\t62.50000\n"));
  CalibrationGeometryKes geometry;
  CalibrationRadiometryKesV1 radiometry;
  SerializerCameraKesV1Cam(mFolder.path()).readCam(name(), &geometry, &radiometry);
  EXPECT_TRUE(geometry.calibDateTime().isNull());
  EXPECT_EQ(geometry.numSamples(), 3U);
}

TEST_F(CamWriter, LocaleOfTheHostDoesntMatter) {
  struct GermanNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  write(&mRadiometry);
  std::locale::global(before);
  EXPECT_EQ(test::contents(name()), expectedText);
}

TEST_F(CamWriter, RadiometryOfTheNewerCameraHasTheGainsOfAFreshOne) {
  sensor::CalibrationRadiometryKesV2 v2(0);
  describe(v2);
  v2.setRadiometricGain(3.0F);
  write(&v2);
  EXPECT_THAT(test::contents(name()),
              testing::HasSubstr("RADIOMETRIC_GAIN\t3.00000\nIRRADIANCE_GAIN\t0.00000\nLEFTSIDE_GAIN\t1\n"));
}

TEST_F(CamWriter, SparseTableIsWrittenSampleBySample) {
  mGeometry.setPixelData(0.25F, 5, 5, std::vector<float>{0.5F, 0.25F, 0.5F}, std::vector<float>{-1, 0, 1});
  write(&mRadiometry);
  EXPECT_THAT(test::contents(name()), testing::HasSubstr("START_XY\n500.00000 -1000.00000\n375.00000 -500.00000\n"));
}

TEST_F(CamWriter, WrittenFileReadsBackWithoutItsSpectralValues) {
  mRadiometry.setCenterWavelength(5e-7F);
  mRadiometry.setBandWidth(5e-8F);
  write(&mRadiometry);
  CalibrationGeometryKes geometry;
  CalibrationRadiometryKesV1 radiometry;
  SerializerCameraKesV1Cam(mFolder.path()).readCam(name(), &geometry, &radiometry);
  EXPECT_EQ(geometry.calibDateTime(), mGeometry.calibDateTime());
  EXPECT_FLOAT_EQ(geometry.coordX(2), -0.125F);
  EXPECT_EQ(radiometry.irradianceGain(), 2.5F);
  EXPECT_FALSE(radiometry.leftSideGain());
  EXPECT_EQ(radiometry.centerWavelength(), 0.0F);
  EXPECT_EQ(radiometry.bandWidth(), 0.0F);
}

TEST_F(CamWriter, MissingObjectsAreNamed) {
  EXPECT_MESSAGE(write(nullptr), "Error while accessing calibration data for PANN00A");
  SerializerCameraKesV1Cam const serializer(mFolder.path());
  EXPECT_MESSAGE(serializer.writeCam(name(), nullptr, &mRadiometry, {}),
                 "Error while accessing calibration data for PANN00A");
  EXPECT_MESSAGE(serializer.writeCam(name(), nullptr, nullptr, {}), "Error while accessing calibration data for ");
}

TEST_F(CamWriter, ObjectsOfDifferentLinesAreRefused) {
  std::string const message = "Mismatch between geometric and radiometric calibration info.";
  mRadiometry.setBandId("PANB14A");
  EXPECT_MESSAGE(write(&mRadiometry), message);
  mRadiometry.setBandId("PANN00A");
  mRadiometry.setSensorId("008");
  EXPECT_MESSAGE(write(&mRadiometry), message);
  EXPECT_FALSE(test::exists(name()));
}

TEST_F(CamWriter, PlaceThatCantBeWrittenSaysSo) {
  std::string const file = mFolder / "none/a.cam";
  EXPECT_MESSAGE(SerializerCameraKesV1Cam(mFolder.path()).writeCam(file, &mGeometry, &mRadiometry, {}),
                 "Failed to write calibration file: " + file);
}

TEST_F(CamWriter, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  SerializerCameraKesV1Cam const serializer(disk.path());
  std::string const file = disk / "a.cam";
  serializer.writeCam(file, &mGeometry, &mRadiometry, {0.0, 0.0, 0.171});
  mGeometry.setPixelData(0.25F, 1000, 1000, std::vector<float>(1000), std::vector<float>(1000));
  disk.fill(4096);
  EXPECT_MESSAGE(serializer.writeCam(file, &mGeometry, &mRadiometry, {}), "Failed to write calibration file: " + file);
  EXPECT_EQ(test::contents(file), expectedText);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

}  // namespace
