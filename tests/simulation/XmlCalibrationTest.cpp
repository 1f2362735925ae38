// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/kessensor.h>
#include <simulation/CameraHead.h>
#include <simulation/LineRadiometry.h>
#include <simulation/XmlCalibration.h>

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV2;
using simulation::CameraHead;
using simulation::LineRadiometry;
using simulation::SensorLine;

// The files' positions and lengths are in millimetres, with five decimals at the most.
constexpr double digitError = 0.5e-8;
constexpr double floatError = 0x1p-24;  // of a rounding to single precision, relative
// A number of both kinds of files differs once it is in metres: by a rounding of the XML file's, two of the CAM file's,
// and by that of the factor 0.001 which the latter is multiplied with.
constexpr double readError = 4 * floatError;

CalibrationGeometryKes const& geometryOf(sensor::Camera const& camera, std::string const& band) {
  return dynamic_cast<CalibrationGeometryKes const&>(*camera.calibrationGeometry(band));
}

// Cameras of both types as they are read.
class XmlCamera : public testing::Test {
protected:
  XmlCamera() {
    mHead.writeCamCalibrations(mFolder.path());
    simulation::writeXmlCalibration(mHead, mFolder.path());
    sensor::CameraFactory::instance()->addSearchPath(mFolder.path());
    mXml = sensor::CameraFactory::instance()->camera("11990", "HDB00", "v001");
    mCam = sensor::CameraFactory::instance()->camera("11990", "KESA0", "v003");
  }
  void SetUp() override {
    ASSERT_NE(mXml, nullptr);
    ASSERT_NE(mCam, nullptr);
  }
  CalibrationRadiometryKesV2 const& radiometry(std::string const& band) const {
    return dynamic_cast<CalibrationRadiometryKesV2 const&>(*mXml->calibrationRadiometry(band));
  }

  test::TempFolder mFolder;
  CameraHead mHead{11990};
  sensor::Camera const* mXml = nullptr;
  sensor::Camera const* mCam = nullptr;
};

TEST_F(XmlCamera, HasTheBandsOfTheOther) {
  std::vector<std::string> xml;
  std::vector<std::string> cam;
  mXml->bandIds(xml);
  mCam->bandIds(cam);
  EXPECT_EQ(xml.size(), 10U);
  EXPECT_THAT(xml, testing::UnorderedElementsAreArray(cam));
}

// An error of a single digit in a file would be 1e-8 metres, more than what is allowed here.
TEST_F(XmlCamera, HasTheSensorLinesOfTheOtherDigitByDigit) {
  for (SensorLine const& line : mHead.lines()) {
    CalibrationGeometryKes const& xml = geometryOf(*mXml, line.bandId);
    CalibrationGeometryKes const& cam = geometryOf(*mCam, line.bandId);
    ASSERT_EQ(xml.numSamples(), 11990U);
    EXPECT_EQ(xml.numImagingSamples(), 11990U);
    EXPECT_EQ(xml.isReverse(), line.bandId.substr(0, 4) == "PANB");
    EXPECT_NEAR(xml.focalLength(), CameraHead::focalLength, CameraHead::focalLength * readError);
    EXPECT_NEAR(xml.pixelSize(), CameraHead::pixelSize, CameraHead::pixelSize * readError);
    for (std::size_t i = 0; i < line.x.size(); ++i) {
      auto const sample = static_cast<float>(i);
      auto const expectNear = [&](float a, float b, float planned) {
        auto const size = static_cast<double>(std::fabs(planned));
        ASSERT_NEAR(a, b, readError * size) << line.bandId << " " << i;
        ASSERT_NEAR(a, planned, digitError + readError * size) << line.bandId << " " << i;
      };
      expectNear(xml.x(sample, 0.0F, 0.0F, 0.0F), cam.x(sample, 0.0F, 0.0F, 0.0F), line.x[i]);
      expectNear(xml.y(sample, 0.0F, 0.0F, 0.0F), cam.y(sample, 0.0F, 0.0F, 0.0F), line.y[i]);
    }
  }
}

TEST_F(XmlCamera, IsTurnedAndMountedAsTheOther) {
  constexpr double error = 0.5e-5 * 0.017453292519943295;  // of five decimals of a degree
  sensor::Misalignment const& xml = *mXml->misalignment();
  sensor::Misalignment const& cam = *mCam->misalignment();
  EXPECT_NEAR(xml.omega(), cam.omega(), error);
  EXPECT_NEAR(xml.phi(), cam.phi(), error);
  EXPECT_NEAR(xml.kappa(), cam.kappa(), error);
  EXPECT_NEAR(xml.stdDevOmega(), 1e-5, error);
  EXPECT_NEAR(xml.stdDevPhi(), 1e-5, error);
  EXPECT_NEAR(xml.stdDevKappa(), 2e-5, error);
  EXPECT_NEAR(xml.omega(), 0.0012445678, error);
  EXPECT_NEAR(xml.phi(), -0.0023456789, error);
  EXPECT_NEAR(xml.kappa(), 0.0034467891, error);
  auto const& xmlOffset = dynamic_cast<sensor::CameraKes const&>(*mXml).mntOffset();
  auto const& camOffset = dynamic_cast<sensor::CameraKes const&>(*mCam).mntOffset();
  EXPECT_NEAR(xmlOffset.z, camOffset.z, digitError + camOffset.z * readError);
}

TEST_F(XmlCamera, SaysWhereItComesFrom) {
  CalibrationGeometryKes const& geometry = geometryOf(*mXml, "GRNF16A");
  EXPECT_EQ(geometry.calibSource(), "Simulated flight");
  EXPECT_EQ(geometry.sensorId(), "11990");
  EXPECT_EQ(geometry.calibDateTime(), QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30), Qt::UTC));
  EXPECT_EQ(radiometry("GRNF16A").calibDateTime(), geometry.calibDateTime());
  EXPECT_EQ(mXml->versionInfo(), "Made in Simulated flight, Test field (second flight, all lines)");
}

void expectEqual(CalibrationRadiometryKesV2::Curve const& read, LineRadiometry::Curve const& planned) {
  constexpr double error = 0.5001e-3;  // of three decimals
  ASSERT_EQ(read.size(), planned.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_NEAR(read[i].first, planned[i].first, error);
    EXPECT_NEAR(read[i].second, planned[i].second, error);
  }
}

TEST_F(XmlCamera, HasTheRadiometryThatWasPlanned) {
  for (std::size_t i = 0; i < mHead.lines().size(); ++i) {
    SensorLine const& line = mHead.lines()[i];
    LineRadiometry const planned = simulation::lineRadiometry(mHead, i);
    CalibrationRadiometryKesV2 const& read = radiometry(line.bandId);
    EXPECT_EQ(read.prnuFactors(), planned.prnu) << line.bandId;
    EXPECT_EQ(read.dsnuOffsets(), planned.dsnu) << line.bandId;
    EXPECT_NEAR(read.radiometricGain(), planned.gain, 0.5e-6) << line.bandId;
    expectEqual(read.leftNonLinearity(), planned.left);
    expectEqual(read.rightNonLinearity(), planned.right);
    EXPECT_NEAR(read.centerWavelength(), line.centreWavelength, line.centreWavelength * floatError) << line.bandId;
    EXPECT_NEAR(read.bandWidth(), line.bandWidth, line.bandWidth * floatError) << line.bandId;
  }
  EXPECT_NEAR(radiometry("NIRF16A").centerWavelength(), 860e-9, 1e-13);
  EXPECT_NEAR(radiometry("NIRF16A").bandWidth(), 55e-9, 1e-14);
}

double mean(std::vector<float> const& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

double scatter(std::vector<float> const& values) {
  double const middle = mean(values);
  double squares = 0.0;
  for (float const value : values) {
    squares += (value - middle) * (value - middle);
  }
  return std::sqrt(squares / static_cast<double>(values.size()));
}

// 11990 numbers give their standard deviation to 1/sqrt(2 * 11990), 0.65 per cent: here to five times of it.
TEST(LineRadiometry, ScattersLessOverMoreStages) {
  CameraHead const head(11990);
  for (std::size_t i = 0; i < head.lines().size(); ++i) {
    LineRadiometry const line = simulation::lineRadiometry(head, i);
    ASSERT_EQ(line.prnu.size(), head.lines()[i].bandId.substr(0, 3) == "PAN" ? 2U : 3U);
    ASSERT_EQ(line.dsnu.size(), line.prnu.size());
    for (std::size_t t = 0; t < line.prnu.size(); ++t) {
      double const stages = std::pow(2.0, t);
      EXPECT_EQ(line.prnu[t].size(), 11990U);
      EXPECT_NEAR(mean(line.prnu[t]), 1.0, 5 * 0.008 / std::sqrt(stages * 11990.0));
      EXPECT_NEAR(scatter(line.prnu[t]) * std::sqrt(stages), 0.008, 0.008 * 0.0325);
      std::vector<float> const dark(line.dsnu[t].begin(), line.dsnu[t].end());
      EXPECT_NEAR(mean(dark), 100.0 + 20.0 * stages, 0.1);
      EXPECT_LE(*std::max_element(line.dsnu[t].begin(), line.dsnu[t].end()), LineRadiometry::greatestDark);
    }
  }
}

TEST(LineRadiometry, IsOfEachLineItsOwn) {
  CameraHead const head(500);
  LineRadiometry const first = simulation::lineRadiometry(head, 0);
  LineRadiometry const second = simulation::lineRadiometry(head, 1);
  EXPECT_NE(first.prnu, second.prnu);
  EXPECT_NE(first.prnu[0], first.prnu[1]);
  EXPECT_NE(first.dsnu, second.dsnu);
  EXPECT_NE(first.gain, second.gain);
  EXPECT_NE(first.left, first.right);
  EXPECT_NE(first.left, second.left);
  EXPECT_NE(first.prnu[0][7], simulation::lineRadiometry(CameraHead(501), 0).prnu[0][7]);
  EXPECT_EQ(first.prnu, simulation::lineRadiometry(head, 0).prnu);
}

TEST(LineRadiometry, CurvesRiseOverTheWholeRange) {
  CameraHead const head(500);
  for (std::size_t i = 0; i < head.lines().size(); ++i) {
    LineRadiometry const line = simulation::lineRadiometry(head, i);
    for (LineRadiometry::Curve const& curve : {line.left, line.right}) {
      EXPECT_EQ(curve.front(), std::make_pair(0.0, 0.0));
      EXPECT_EQ(curve.back(), std::make_pair(16383.0, 16383.0));
      for (std::size_t k = 1; k < curve.size(); ++k) {
        EXPECT_GT(curve[k].first, curve[k - 1].first);
        EXPECT_GT(curve[k].second, curve[k - 1].second);
      }
    }
  }
}

}  // namespace
