// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/XmlFolder.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <util/SkerryRoot.h>

#include <QDateTime>

#include <memory>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV2;
using sensor::CameraKes;
using sensor::SerializerCameraKesV2Xml;
using test::SameBits;
using test::with;
using test::XmlFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class V2Xml : public testing::Test {
protected:
  std::unique_ptr<CameraKes> read(std::string const& folder) const {
    return std::make_unique<CameraKes>("HDB00", "90", 2, SerializerCameraKesV2Xml(folder));
  }
  std::unique_ptr<CameraKes> readFiles() const { return read(mFiles.write(mFolder, "source")); }
  std::string messageOfRead() const {
    return test::messageOf([&] { readFiles(); });
  }
  static CalibrationRadiometryKesV2 const& radiometry(CameraKes const& camera, std::string const& band) {
    return dynamic_cast<CalibrationRadiometryKesV2 const&>(*camera.calibrationRadiometry(band));
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;
};

TEST_F(V2Xml, HasItsConstants) {
  EXPECT_EQ(SerializerCameraKesV2Xml::METERS_TO_MILLIMETERS, 1000.0);
  EXPECT_EQ(SerializerCameraKesV2Xml::MILLIMETERS_TO_METERS, 0.001);
  EXPECT_EQ(SerializerCameraKesV2Xml::DEFAULT_MNT_Z_OFFSET, 171.0);
  EXPECT_STREQ(SerializerCameraKesV2Xml::CAM_DATE_FORMAT_FACTORY, "yyyyMMdd");
  EXPECT_STREQ(SerializerCameraKesV2Xml::CAM_TIME_FORMAT_FACTORY, "hhmmss");
}

TEST_F(V2Xml, CameraHasFolderNoteMisalignmentAndOffset) {
  mFolder.file("source/readme.txt", "another note");
  auto const camera = readFiles();
  EXPECT_EQ(camera->calibrationFolder(), mFolder / "source");
  EXPECT_EQ(camera->versionInfo(), "Made in Works, Bench (first)");
  EXPECT_EQ(camera->sensorId(), "90");
  EXPECT_EQ(camera->mntOffset().x, 0.0);
  EXPECT_EQ(camera->mntOffset().y, 0.0);
  EXPECT_EQ(camera->mntOffset().z, 0.171);
  constexpr double radians = 0.017453292519943295;
  sensor::Misalignment const& m = *camera->misalignment();
  EXPECT_EQ(m.omega(), 0.1 * radians);
  EXPECT_EQ(m.phi(), -0.2 * radians);
  EXPECT_EQ(m.kappa(), 0.3 * radians);
  EXPECT_EQ(m.stdDevOmega(), 0.4 * radians);
  EXPECT_EQ(m.stdDevPhi(), 0.5 * radians);
  EXPECT_EQ(m.stdDevKappa(), 0.6 * radians);
}

TEST_F(V2Xml, GeometriesAreInMetres) {
  auto const camera = readFiles();
  std::vector<std::string> ids;
  camera->bandIds(ids);
  EXPECT_THAT(ids, ElementsAre("BLUE", "PANF"));
  CalibrationGeometryKes const& line = *camera->calibrationGeometry("PANF");
  EXPECT_EQ(line.bandId(), "PANF");
  EXPECT_EQ(line.calibSource(), "Works");
  EXPECT_EQ(line.sensorId(), "90");
  EXPECT_THAT(line.focalLength(), SameBits(static_cast<float>(62.5 * 0.001)));
  EXPECT_THAT(line.pixelSize(), SameBits(static_cast<float>(0.0065 * 0.001)));
  EXPECT_EQ(line.numSamples(), 3U);
  EXPECT_EQ(line.numImagingSamples(), 2U);
  EXPECT_THAT(line.coordX(0), SameBits(static_cast<float>(1.5 * 0.001)));
  EXPECT_THAT(line.coordX(1), SameBits(static_cast<float>(1.25 * 0.001)));
  EXPECT_THAT(line.coordY(0), SameBits(static_cast<float>(-0.0065 * 0.001)));
  EXPECT_THAT(line.coordY(2), SameBits(static_cast<float>(0.007 * 0.001)));
}

// The samples are those of the PRNU rows; the grid may be sparser.
TEST_F(V2Xml, LineMayHaveMoreSamplesThanItsGrid) {
  auto const camera = readFiles();
  CalibrationGeometryKes const& line = *camera->calibrationGeometry("BLUE");
  EXPECT_EQ(line.numSamples(), 5U);
  EXPECT_EQ(line.numImagingSamples(), 4U);
  EXPECT_TRUE(line.isReverse());
  // Half of the way from the first entry to the second.
  EXPECT_THAT(line.x(2, 0, 0, 0), SameBits((line.coordX(1) - line.coordX(0)) * 0.5F + line.coordX(0)));
}

TEST_F(V2Xml, RadiometriesHaveAllSettings) {
  auto const camera = readFiles();
  CalibrationRadiometryKesV2 const& line = radiometry(*camera, "BLUE");
  EXPECT_EQ(line.bandId(), "BLUE");
  EXPECT_EQ(line.calibSource(), "Works");
  EXPECT_EQ(line.sensorId(), "90");
  EXPECT_EQ(line.radiometricGain(), 1.25F);
  EXPECT_THAT(line.centerWavelength(), SameBits(static_cast<float>(450 * 1e-9)));
  EXPECT_THAT(line.bandWidth(), SameBits(static_cast<float>(60 * 1e-9)));
  EXPECT_THAT(line.prnuFactors(), ElementsAre(ElementsAre(1.0F, 0.5F, 1.0F, 0.5F, 1.0F), testing::Each(0.5F)));
  EXPECT_THAT(line.dsnuOffsets(), ElementsAre(ElementsAre(1, 2, 3, 4, 5), ElementsAre(6, 7, 8, 9, 10)));
  EXPECT_EQ(radiometry(*camera, "PANF").prnuFactors().size(), 1U);
}

TEST_F(V2Xml, CurveOfTheLowerColumnsIsTheLeftOne) {
  auto const camera = readFiles();
  EXPECT_THAT(radiometry(*camera, "PANF").leftNonLinearity(),
              ElementsAre(Pair(0, 1), Pair(5, 6), Pair(5, 7), Pair(9, 10)));
  EXPECT_THAT(radiometry(*camera, "PANF").rightNonLinearity(), ElementsAre(Pair(0, 0), Pair(10, 11)));
  EXPECT_THAT(radiometry(*camera, "BLUE").leftNonLinearity(), ElementsAre(Pair(1, 2)));
  EXPECT_THAT(radiometry(*camera, "BLUE").rightNonLinearity(), ElementsAre(Pair(3, 4)));
}

// The PRNU file says "utc".
TEST_F(V2Xml, TimesAreUniversalForTheExactWordAlone) {
  auto const camera = readFiles();
  EXPECT_EQ(camera->calibrationGeometry("PANF")->calibDateTime(),
            QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30), Qt::UTC));
  QDateTime const& time = radiometry(*camera, "PANF").calibDateTime();
  EXPECT_EQ(time.timeSpec(), Qt::LocalTime);
  EXPECT_EQ(time.date(), QDate(2010, 1, 15));
  EXPECT_EQ(time.time(), QTime(9, 15));
}

TEST_F(V2Xml, DateOrTimeThatIsNoneIsNull) {
  for (auto const& [right, wrong] :
       {std::pair("20100312", "20100230"), {"\"141530\"", "\"241530\""}, {"\"141530\"", "\"\""}}) {
    mFiles.geometry = with(XmlFolder().geometry, right, wrong);
    EXPECT_FALSE(readFiles()->calibrationGeometry("PANF")->calibDateTime().isValid()) << wrong;
  }
}

TEST_F(V2Xml, BandIsContainedInTheTypeOfItsCorrectionsButIsTheTypeOfItsImages) {
  mFiles.geometry = with(mFiles.geometry, "\"PANF\"", "\"PAN\"");
  EXPECT_EQ(messageOfRead(), "Sensor data not found (PAN)");
  mFiles.prnu = with(mFiles.prnu, "panf", "pan");
  EXPECT_EQ(messageOfRead(), "Sensor data not found (PAN)");
  mFiles.dsnu = with(mFiles.dsnu, "PANF", "Pan");
  EXPECT_EQ(readFiles()->calibrationGeometry("PAN")->numImagingSamples(), 2U);
  mFiles.sensor = with(mFiles.sensor, "Line_panf27", "Line");
  EXPECT_EQ(messageOfRead(), "Sensor data not found (PAN)");
}

TEST_F(V2Xml, FirstOfSeveralTypesThatContainTheBandCounts) {
  mFiles.sensor = with(mFiles.sensor, "<Type>BLUE</Type>", "<Type>BLUE and PANF</Type>");
  EXPECT_EQ(readFiles()->calibrationGeometry("PANF")->numImagingSamples(), 2U);
  mFiles.sensor = with(mFiles.sensor, "Sensor i=\"4\"", "Sensor i=\"8\"");
  EXPECT_EQ(readFiles()->calibrationGeometry("PANF")->numImagingSamples(), 4U);
}

TEST_F(V2Xml, LineNeedsTwoCurves) {
  std::string const message = "Currently only left and right non linearity correction supported !";
  std::string const curve = "<Lookup ColumnStart=\"2\" Columns=\"1\"><in>0 10</in><out>0 11</out></Lookup>";
  mFiles.sensor = with(XmlFolder().sensor, curve, "");
  EXPECT_EQ(messageOfRead(), message);
  mFiles.sensor = with(XmlFolder().sensor, curve, curve + curve);
  EXPECT_EQ(messageOfRead(), message);
}

TEST_F(V2Xml, GridNeedsOneRow) {
  std::string const& text = mFiles.geometry;
  std::string const row = text.substr(text.find("<GridRow"), text.find("</GridRow>") + 10 - text.find("<GridRow"));
  mFiles.geometry = with(with(text, row, row + row), "\"PANF\" Columns", "\"PANF\" Rows=\"2\" Columns");
  EXPECT_EQ(messageOfRead(), "Bad calibration format, only one row expected.");
}

TEST_F(V2Xml, OffsetsNeedARowForEachRowOfFactors) {
  mFiles.dsnu = with(mFiles.dsnu, "Width=\"5\" Height=\"2\"", "Width=\"5\" Height=\"1\"");
  EXPECT_EQ(messageOfRead(), "Internal error due to bad TDI index.");
}

TEST_F(V2Xml, RowsWithoutSamplesAreReadWhereTheyAreFew) {
  mFiles.prnu = with(mFiles.prnu, "Width=\"5\" Height=\"2\"", "Width=\"0\" Height=\"2\"");
  auto const camera = readFiles();
  EXPECT_EQ(camera->calibrationGeometry("BLUE")->numSamples(), 0U);
  EXPECT_THAT(radiometry(*camera, "BLUE").prnuFactors(), ElementsAre(ElementsAre(), ElementsAre()));
  mFiles.prnu = with(mFiles.prnu, "Width=\"0\" Height=\"2\"", "Width=\"0\" Height=\"9223372036854775807\"");
  EXPECT_EQ(messageOfRead(), "Invalid width or height");
}

TEST_F(V2Xml, BackslashesInTheFolderAreSlashes) {
  mFiles.write(mFolder, "one/two");
  EXPECT_EQ(read(mFolder / "one\\two")->calibrationFolder(), mFolder / "one/two");
}

// The flight's camera of the newer type, and a copy of it on disk.
class AdjustedV2Xml : public V2Xml {
protected:
  std::string write(CameraKes const& camera, std::string const& name = "target") const {
    std::string const target = mFolder.folder(name);
    SerializerCameraKesV2Xml(target).write(&camera);
    return target;
  }
};

TEST_F(AdjustedV2Xml, PixelsMisalignmentSourceAndTimeAreWritten) {
  auto const camera = readFiles();
  camera->calibrationGeometry("PANF")->shiftX(0.001F);
  camera->calibrationGeometry("BLUE")->setCalibSource("Adjustment");
  auto misalignment = std::make_unique<sensor::Misalignment>();
  constexpr double radians = 0.017453292519943295;
  misalignment->setValues(1.23456 * radians, -2 * radians, 3 * radians, 4 * radians, 5 * radians, 6 * radians);
  camera->setMisalignment(misalignment.release());
  QDateTime const before = QDateTime::currentDateTimeUtc();
  std::string const text = test::contents(write(*camera) + "/" + XmlFolder::geometryName);
  EXPECT_THAT(text, HasSubstr("Omega=\"1.23456\" SigmaOmega=\"4.00000\" Phi=\"-2.00000\" SigmaPhi=\"5.00000\" "
                              "Kappa=\"3.00000\" SigmaKappa=\"6.00000\""));
  EXPECT_THAT(text, HasSubstr("<Row_mm>2.50000 2.25000 2.00000</Row_mm>"));
  EXPECT_THAT(text, HasSubstr("<Column_mm>-0.00650 0.00025 0.00700</Column_mm>"));
  EXPECT_THAT(text, HasSubstr("<SigmaRow_mm>0.00001 0.00002 0.00003</SigmaRow_mm>"));
  EXPECT_THAT(text, HasSubstr("Name=\"Somebody\" Location=\"Adjustment\" Environment=\"Bench\" Remark=\"first\""));
  QDateTime const written = read(mFolder / "target")->calibrationGeometry("PANF")->calibDateTime();
  EXPECT_EQ(written.timeSpec(), Qt::UTC);
  EXPECT_GE(written.toSecsSinceEpoch(), before.toSecsSinceEpoch());
  EXPECT_LE(written, QDateTime::currentDateTimeUtc());
}

TEST_F(AdjustedV2Xml, OtherFilesAndTheFolderThatWasReadStayAsTheyAre) {
  auto const camera = readFiles();
  std::string const target = write(*camera);
  EXPECT_EQ(test::contents(mFolder / "source/" + XmlFolder::geometryName), mFiles.geometry);
  EXPECT_EQ(test::entryCount(mFolder / "source"), 4);
  EXPECT_EQ(test::entryCount(target), 4);
  EXPECT_EQ(test::contents(target + "/" + XmlFolder::sensorName), mFiles.sensor);
  EXPECT_EQ(test::contents(target + "/" + XmlFolder::prnuName), mFiles.prnu);
  EXPECT_EQ(test::contents(target + "/" + XmlFolder::dsnuName), mFiles.dsnu);
}

TEST_F(AdjustedV2Xml, SourceOfTheFirstBandIsTheOneThatCounts) {
  auto const camera = readFiles();
  camera->calibrationGeometry("PANF")->setCalibSource("Other");
  EXPECT_EQ(read(write(*camera))->versionInfo(), "Made in Works, Bench (first)");
}

TEST_F(AdjustedV2Xml, LocalTimeBecomesUniversalTime) {
  mFiles.geometry = with(mFiles.geometry, "Type=\"UTC\"", "Type=\"local\"");
  auto const camera = readFiles();
  EXPECT_THAT(test::contents(write(*camera) + "/" + XmlFolder::geometryName), HasSubstr("<DateTime Type=\"UTC\""));
}

TEST_F(AdjustedV2Xml, CameraOfTheFlightReadsBackAsItWas) {
  auto const camera = read(test::stripA::path("calibration/HDB00_90214/v002"));
  auto const copy = read(write(*camera));
  std::vector<std::string> ids;
  camera->bandIds(ids);
  ASSERT_EQ(ids.size(), 5U);
  for (std::string const& id : ids) {
    CalibrationGeometryKes const& line = *camera->calibrationGeometry(id);
    CalibrationGeometryKes const& copied = *copy->calibrationGeometry(id);
    ASSERT_EQ(copied.numSamples(), line.numSamples());
    for (unsigned int i = 0; i < 600; ++i) {
      ASSERT_THAT(copied.coordX(i), SameBits(line.coordX(i)));
      ASSERT_THAT(copied.coordY(i), SameBits(line.coordY(i)));
    }
    EXPECT_EQ(radiometry(*copy, id).prnuFactors(), radiometry(*camera, id).prnuFactors());
  }
  EXPECT_EQ(copy->versionInfo(), camera->versionInfo());
  EXPECT_NEAR(copy->misalignment()->omega(), camera->misalignment()->omega(), 1e-15);
}

TEST_F(AdjustedV2Xml, SchemasAreNotNeeded) {
  EXPECT_FALSE(test::exists(util::getSkerryRoot() + "/etc/schemas"));
  EXPECT_NE(readFiles(), nullptr);
}

}  // namespace
