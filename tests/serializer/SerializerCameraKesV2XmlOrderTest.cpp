// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV2Xml.h>

#include <QDateTime>
#include <QLocale>

#include <ctime>
#include <memory>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CameraKes;
using sensor::SerializerCameraKesV2Xml;
using test::with;
using test::XmlFolder;
using testing::HasSubstr;

// Fills a camera with nothing.
class NoSerializer : public sensor::SerializerCameraKes {
public:
  NoSerializer() : SerializerCameraKes("") {}
  void read(CameraKes* /*camera*/) const override {}
  void write(CameraKes const* /*camera*/) const override {}
};

class V2XmlOrder : public testing::Test {
protected:
  std::string messageOfRead() {
    return test::messageOf([&] { SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera); });
  }
  void dropACurve() {
    mFiles.sensor = with(mFiles.sensor, "<Lookup ColumnStart=\"3\" Columns=\"2\"><in>3</in><out>4</out></Lookup>", "");
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;
  CameraKes mCamera{"HDB00", "90", 2, NoSerializer()};
};

// BLUE comes before PANF.
TEST_F(V2XmlOrder, GeometryOfTheBandIsEnteredBeforeItsRadiometryFails) {
  dropACurve();
  EXPECT_EQ(messageOfRead(), "Currently only left and right non linearity correction supported !");
  EXPECT_NE(mCamera.calibrationGeometry("BLUE"), nullptr);
  EXPECT_EQ(mCamera.calibrationRadiometry("BLUE"), nullptr);
  EXPECT_EQ(mCamera.calibrationGeometry("PANF"), nullptr);
  EXPECT_EQ(mCamera.calibrationFolder(), mFolder / "source");
  EXPECT_EQ(mCamera.versionInfo(), "Made in Works, Bench (first)");
  EXPECT_EQ(mCamera.mntOffset().z, 0.171);
  ASSERT_NE(mCamera.misalignment(), nullptr);
}

TEST_F(V2XmlOrder, RowsOfOffsetsAreMissedBeforeCurves) {
  dropACurve();
  mFiles.dsnu = with(mFiles.dsnu, "Width=\"5\" Height=\"2\"", "Width=\"5\" Height=\"1\"");
  EXPECT_EQ(messageOfRead(), "Internal error due to bad TDI index.");
}

TEST_F(V2XmlOrder, RowsOfTheGridAreCountedBeforeCorrectionsAreLookedFor) {
  std::string const& text = mFiles.geometry;
  std::size_t const begin = text.rfind("<GridRow");
  std::string const row = text.substr(begin, text.rfind("</GridRow>") + 10 - begin);
  mFiles.geometry = with(with(text, row, row + row), "\"BLUE\" Columns", "\"BLUE\" Rows=\"2\" Columns");
  mFiles.sensor = with(mFiles.sensor, "<Type>BLUE</Type>", "<Type>RED</Type>");
  EXPECT_EQ(messageOfRead(), "Bad calibration format, only one row expected.");
  mFiles.geometry = XmlFolder().geometry;
  EXPECT_EQ(messageOfRead(), "Sensor data not found (BLUE)");
  EXPECT_EQ(mCamera.calibrationGeometry("BLUE"), nullptr);
}

TEST_F(V2XmlOrder, FileThatCantBeReadLeavesTheCameraAlone) {
  mFiles.dsnu = "no xml";
  EXPECT_THAT(messageOfRead(), HasSubstr("Can't find start element"));
  EXPECT_EQ(mCamera.calibrationFolder(), "");
  EXPECT_EQ(mCamera.versionInfo(), "");
  EXPECT_EQ(mCamera.misalignment(), nullptr);
}

TEST_F(V2XmlOrder, SourceOfARadiometryIsThatOfTheGeometryFile) {
  mFiles.prnu = with(mFiles.prnu, "Location=\"Works\"", "Location=\"Other\"");
  mFiles.dsnu = with(mFiles.dsnu, "Location=\"Works\"", "Location=\"Other\"");
  mFiles.sensor = with(mFiles.sensor, "Location=\"Works\"", "Location=\"Other\"");
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  EXPECT_EQ(mCamera.calibrationRadiometry("PANF")->calibSource(), "Works");
  EXPECT_EQ(mCamera.calibrationGeometry("PANF")->calibSource(), "Works");
}

// While it lives, German is the default locale, of Qt and of the C library's stream.
struct GermanDefault {
  GermanDefault() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }
  ~GermanDefault() { QLocale::setDefault(before); }
  QLocale before;
};

TEST_F(V2XmlOrder, DefaultLocaleDoesntMatter) {
  GermanDefault const german;
  ASSERT_EQ(QLocale().toString(1.5), QStringLiteral("1,5"));
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  EXPECT_EQ(mCamera.misalignment()->omega(), 0.1 * 0.017453292519943295);
  CalibrationGeometryKes const& line = *mCamera.calibrationGeometry("PANF");
  EXPECT_EQ(line.coordX(1), static_cast<float>(1.25 * 0.001));
  EXPECT_EQ(line.pixelSize(), static_cast<float>(0.0065 * 0.001));
  EXPECT_EQ(mCamera.calibrationRadiometry("PANF")->radiometricGain(), static_cast<float>(0.8));
  EXPECT_EQ(line.calibDateTime(), QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30), Qt::UTC));
  std::string const target = mFolder.folder("target");
  SerializerCameraKesV2Xml(target).write(&mCamera);
  std::string const text = test::contents(target + "/" + XmlFolder::geometryName);
  EXPECT_THAT(text, HasSubstr("<Row_mm>1.50000 1.25000 1.00000</Row_mm>"));
  EXPECT_THAT(text, HasSubstr("PrincipalDistance_mm=\"62.5000\""));
}

// While it lives, the host's time zone is far from universal time.
class OtherTimeZone {
public:
  OtherTimeZone() : mWasSet(qEnvironmentVariableIsSet("TZ")), mBefore(qgetenv("TZ")) {
    qputenv("TZ", "XYZ-11:30");
    tzset();
  }
  ~OtherTimeZone() {
    mWasSet ? qputenv("TZ", mBefore) : qunsetenv("TZ");
    tzset();
  }
  OtherTimeZone(OtherTimeZone const&) = delete;
  OtherTimeZone& operator=(OtherTimeZone const&) = delete;

private:
  bool mWasSet;
  QByteArray mBefore;
};

TEST_F(V2XmlOrder, DateAndTimeAreWrittenInUniversalTime) {
  OtherTimeZone const zone;
  ASSERT_EQ(QDateTime::currentDateTime().offsetFromUtc(), 41400);
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  std::string const target = mFolder.folder("target");
  auto const before = QDateTime::currentSecsSinceEpoch();
  SerializerCameraKesV2Xml(target).write(&mCamera);
  auto const after = QDateTime::currentSecsSinceEpoch();
  std::string const text = test::contents(target + "/" + XmlFolder::geometryName);
  auto const at = text.find("<DateTime Type=\"UTC\" Date=\"");
  ASSERT_NE(at, std::string::npos);
  QString const date = QString::fromStdString(text.substr(at + 27, 8));
  QString const time = QString::fromStdString(text.substr(at + 43, 6));
  QDateTime const written(QDate::fromString(date, "yyyyMMdd"), QTime::fromString(time, "hhmmss"), Qt::UTC);
  EXPECT_GE(written.toSecsSinceEpoch(), before) << text.substr(at, 60);
  EXPECT_LE(written.toSecsSinceEpoch(), after);
}

TEST_F(V2XmlOrder, LocalTimesOfAFileAreThoseOfTheHost) {
  OtherTimeZone const zone;
  mFiles.geometry = with(mFiles.geometry, "Type=\"UTC\"", "Type=\"utc\"");
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  EXPECT_EQ(mCamera.calibrationGeometry("PANF")->calibDateTime().toUTC(),
            QDateTime(QDate(2010, 3, 12), QTime(2, 45, 30), Qt::UTC));
}

// Looks at the geometry file of a folder while its pixels are asked for.
class Watching : public CalibrationGeometryKes {
public:
  Watching(CalibrationGeometryKes const& other, std::string file)
      : CalibrationGeometryKes(other), mFile(std::move(file)) {}
  void getPixelData(float& pixelSize, int& numSamples, int& numImagingSamples, std::vector<double>& x,
                    std::vector<double>& y, double scale) override {
    mSeen = test::contents(mFile);
    CalibrationGeometryKes::getPixelData(pixelSize, numSamples, numImagingSamples, x, y, scale);
  }
  std::string const& seen() const { return mSeen; }

private:
  std::string mFile;
  std::string mSeen;
};

TEST_F(V2XmlOrder, GeometryIsWrittenWithSourceAndKindOfTimeFirst) {
  mFiles.geometry = with(mFiles.geometry, "Type=\"UTC\"", "Type=\"local\"");
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  std::string const target = mFolder.folder("target");
  std::string const file = target + "/" + XmlFolder::geometryName;
  auto watching = std::make_unique<Watching>(*mCamera.calibrationGeometry("BLUE"), file);
  Watching const& watched = *watching;
  watching->setCalibSource("Adjustment");
  mCamera.addCalibrationGeometry(watching.release());
  SerializerCameraKesV2Xml(target).write(&mCamera);
  EXPECT_THAT(watched.seen(), HasSubstr("Location=\"Adjustment\""));
  EXPECT_THAT(watched.seen(), HasSubstr("<DateTime Type=\"UTC\" Date=\"20100312\" Time=\"141530\"/>"));
  EXPECT_THAT(test::contents(file), testing::Not(HasSubstr("Date=\"20100312\"")));
}

TEST_F(V2XmlOrder, CameraWithoutAMisalignmentLeavesThatOfTheFile) {
  SerializerCameraKesV2Xml(mFiles.write(mFolder, "source")).read(&mCamera);
  mCamera.setMisalignment(nullptr);
  std::string const target = mFolder.folder("target");
  SerializerCameraKesV2Xml(target).write(&mCamera);
  EXPECT_THAT(test::contents(target + "/" + XmlFolder::geometryName),
              HasSubstr("Omega=\"0.10000\" SigmaOmega=\"0.40000\" Phi=\"-0.20000\""));
}

}  // namespace
