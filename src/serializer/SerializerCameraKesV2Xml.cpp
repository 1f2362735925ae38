// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/QtText.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <util/SkerryRoot.h>
#include <xmlFileData/Creation.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/KesCalibrationInterface.h>

#include <QDateTime>

#include <algorithm>
#include <files/Angles.h>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace sensor {

namespace {

using xmlFileData::Creation;
using xmlFileData::KesCalibrationInterface;
using xmlFileData::NonLinearity;

constexpr double nanometre = 1e-9;

std::string schemaFolder() {
  return util::getSkerryRoot() + "/etc/schemas";
}

// Time of a creation; null when date or time of day are invalid.
QDateTime timeOf(Creation const& creation) {
  QDate const date = QDate::fromString(fromUtf8(creation.Date), SerializerCameraKesV2Xml::CAM_DATE_FORMAT_FACTORY);
  QTime const time = QTime::fromString(fromUtf8(creation.Time), SerializerCameraKesV2Xml::CAM_TIME_FORMAT_FACTORY);
  // A date with an invalid time would be taken for midnight.
  return time.isValid() ? QDateTime(date, time, creation.DateTimeType == "UTC" ? Qt::UTC : Qt::LocalTime) : QDateTime();
}

std::unique_ptr<Misalignment> misalignmentOf(KesCalibrationInterface const& calibration) {
  xmlFileData::GeoMisalignment const m = calibration.misalignment();
  auto misalignment = std::make_unique<Misalignment>();
  misalignment->setValues(files::toRadians(m.Omega), files::toRadians(m.Phi), files::toRadians(m.Kappa),
                          files::toRadians(m.SigmaOmega), files::toRadians(m.SigmaPhi), files::toRadians(m.SigmaKappa));
  return misalignment;
}

std::vector<double> scaled(std::vector<double> values, double factor) {
  for (double& value : values) {
    value *= factor;
  }
  return values;
}

// A count of a file as the camera has it.
int countOf(std::int64_t count) {
  return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
}

std::unique_ptr<CalibrationGeometryKes> geometryOf(KesCalibrationInterface const& calibration, std::string const& band,
                                                   std::string const& sensorId) {
  constexpr double metres = SerializerCameraKesV2Xml::MILLIMETERS_TO_METERS;
  auto geometry = std::make_unique<CalibrationGeometryKes>();
  geometry->setBandId(band);
  geometry->setCalibSource(calibration.geometryCreation().Location);
  geometry->setSensorId(sensorId);
  geometry->setFocalLength(static_cast<float>(calibration.principalDistance() * metres));
  geometry->setCalibDateTime(timeOf(calibration.geometryCreation()));
  int const samples = countOf(calibration.prnuWidth(band));
  std::vector<double> const xs = scaled(calibration.pixelRows(band), metres);
  std::vector<double> const ys = scaled(calibration.pixelColumns(band), metres);
  int const imagingSamples = calibration.imagingPixels(band);
  auto const pixelSize = static_cast<float>(calibration.pixelSize(band) * metres);
  geometry->setPixelData(pixelSize, samples, imagingSamples, xs, ys);
  return geometry;
}

// Number of TDI settings of a band. Rows without samples cost memory that no byte of the file stands for.
int tdiRows(KesCalibrationInterface const& calibration, std::string const& band) {
  constexpr std::int64_t mostEmptyRows = 65536;
  std::int64_t const rows = calibration.prnuHeight(band);
  if (calibration.prnuWidth(band) == 0 && rows > mostEmptyRows) {
    throw std::runtime_error("Invalid width or height");
  }
  return countOf(rows);
}

void setNonLinearity(CalibrationRadiometryKesV2& radiometry, std::vector<NonLinearity> const& curves) {
  if (curves.size() != 2) {
    throw std::runtime_error("Currently only left and right non linearity correction supported !");
  }
  bool const isReverse = curves[1].columnStart < curves[0].columnStart;
  radiometry.setLeftNonLinearity(curves[isReverse ? 1 : 0].points);
  radiometry.setRightNonLinearity(curves[isReverse ? 0 : 1].points);
}

std::unique_ptr<CalibrationRadiometryKesV2> radiometryOf(KesCalibrationInterface const& calibration,
                                                         std::string const& band, std::string const& sensorId) {
  int const rows = tdiRows(calibration, band);
  auto radiometry = std::make_unique<CalibrationRadiometryKesV2>(rows);
  radiometry->setBandId(band);
  radiometry->setCalibSource(calibration.geometryCreation().Location);
  radiometry->setSensorId(sensorId);
  radiometry->setCalibDateTime(timeOf(calibration.prnuCreation()));
  radiometry->setRadiometricGain(static_cast<float>(calibration.radiometricGain(band)));
  radiometry->setCenterWavelength(static_cast<float>(calibration.centerWavelength(band) * nanometre));
  radiometry->setBandWidth(static_cast<float>(calibration.bandWidth(band) * nanometre));
  for (int t = 0; t < rows; ++t) {
    radiometry->setPrnuFactors(t, calibration.prnuRow(band, t));
    radiometry->setDsnuOffsets(t, calibration.dsnuRow(band, t));
  }
  setNonLinearity(*radiometry, calibration.nonLinearity(band));
  return radiometry;
}

void adjustMisalignment(KesCalibrationInterface& calibration, Misalignment const& m) {
  calibration.setMisalignment(files::toDegrees(m.omega()), files::toDegrees(m.phi()), files::toDegrees(m.kappa()),
                              files::toDegrees(m.stdDevOmega()), files::toDegrees(m.stdDevPhi()),
                              files::toDegrees(m.stdDevKappa()));
}

void adjustPixels(KesCalibrationInterface& calibration, std::string const& band, CalibrationGeometryKes& geometry) {
  constexpr double millimetres = SerializerCameraKesV2Xml::METERS_TO_MILLIMETERS;
  float pixelSize = 0.0F;
  int samples = 0;
  int imagingSamples = 0;
  std::vector<double> xs;
  std::vector<double> ys;
  geometry.getPixelData(pixelSize, samples, imagingSamples, xs, ys, millimetres);
  calibration.setPixels(band, scaled(std::move(xs), millimetres), scaled(std::move(ys), millimetres));
}

// The present in UTC; each call reads the clock.
std::string now(char const* format) {
  return QDateTime::currentDateTimeUtc().toString(QLatin1String(format)).toStdString();
}

}  // namespace

char const* const SerializerCameraKesV2Xml::CAM_DATE_FORMAT_FACTORY = "yyyyMMdd";
char const* const SerializerCameraKesV2Xml::CAM_TIME_FORMAT_FACTORY = "hhmmss";

SerializerCameraKesV2Xml::SerializerCameraKesV2Xml(std::string const& folder) : SerializerCameraKes(folder) {}

SerializerCameraKesV2Xml::~SerializerCameraKesV2Xml() = default;

void SerializerCameraKesV2Xml::read(CameraKes* camera) const {
  KesCalibrationInterface calibration(folder(), schemaFolder());
  calibration.load();
  camera->setCalibrationFolder(folder());
  camera->setVersionInfo(calibration.calibrationNote());
  camera->setMisalignment(misalignmentOf(calibration).release());
  camera->setMntOffset({0.0, 0.0, DEFAULT_MNT_Z_OFFSET * MILLIMETERS_TO_METERS});
  std::string const sensorId = camera->sensorId();
  for (std::string const& band : calibration.bandIds()) {
    camera->addCalibrationGeometry(geometryOf(calibration, band, sensorId).release());
    camera->addCalibrationRadiometry(radiometryOf(calibration, band, sensorId).release());
  }
}

void SerializerCameraKesV2Xml::write(CameraKes const* camera) const {
  std::vector<std::string> bands;
  camera->bandIds(bands);
  if (bands.empty()) {
    throw std::runtime_error("No band defined!");
  }
  KesCalibrationInterface calibration(camera->calibrationFolder(), schemaFolder());
  calibration.load();
  calibration.createAt(folder());
  calibration.setLocation(camera->calibrationGeometry(bands.front())->calibSource());
  calibration.setDateTimeType("UTC");
  calibration.save();
  calibration.setDate(now(CAM_DATE_FORMAT_FACTORY));
  calibration.setTime(now(CAM_TIME_FORMAT_FACTORY));
  if (camera->misalignment() != nullptr) {
    adjustMisalignment(calibration, *camera->misalignment());
  }
  for (std::string const& band : bands) {
    adjustPixels(calibration, band, *camera->calibrationGeometry(band));
  }
}

}  // namespace sensor
