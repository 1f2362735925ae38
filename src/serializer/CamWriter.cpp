// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"
#include "files/FileReplacement.h"

#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QDateTime>
#include <QLocale>

#include <stdexcept>

namespace sensor {

namespace {

constexpr int decimals = 5;

std::string number(double value) {
  return fixedText(value, decimals);
}

std::string number(float value) {
  return number(static_cast<double>(value));
}

// Metres as millimetres, which are taken in single precision.
double millimetres(float metres) {
  return static_cast<double>(metres * 1000.0F);
}

std::string quoted(std::string const& text) {
  return '"' + text + '"';
}

std::string dateTimeToString(QDateTime const& dateTime) {
  return QLocale::c().toString(dateTime, QLatin1String(SerializerCameraKesV1Cam::CAM_DATE_TIME_FORMAT)).toStdString();
}

void addLine(std::string& text, std::string const& keyword, std::string const& value) {
  text += keyword + '\t' + value + '\n';
}

void addCoordinates(std::string& text, CalibrationGeometryKes const& geometry) {
  text += "START_XY\n";
  for (unsigned int i = 0; i < geometry.numSamples(); ++i) {
    auto const sample = static_cast<float>(i);
    appendFixed(text, millimetres(geometry.x(sample, 0.0F, 0.0F, 0.0F)), decimals);
    text += ' ';
    appendFixed(text, millimetres(geometry.y(sample, 0.0F, 0.0F, 0.0F)), decimals);
    text += '\n';
  }
  text += "END_XY\n";
}

[[noreturn]] void failWithout(std::string const& bandId) {
  throw std::runtime_error("Error while accessing calibration data for " + bandId);
}

void requireOneLine(CalibrationGeometryKes const* geometry, CalibrationRadiometryKes const* radiometry) {
  if (geometry == nullptr || radiometry == nullptr) {
    failWithout(geometry != nullptr     ? geometry->bandId()
                : radiometry != nullptr ? radiometry->bandId()
                                        : std::string());
  }
  if (geometry->sensorId() != radiometry->sensorId() || geometry->bandId() != radiometry->bandId()) {
    throw std::runtime_error("Mismatch between geometric and radiometric calibration info.");
  }
}

}  // namespace

void SerializerCameraKesV1Cam::writeCam(std::string const& fileName, CalibrationGeometryKes const* geometry,
                                        CalibrationRadiometryKes const* radiometry, geo::XYZPoint mntOffset) const {
  requireOneLine(geometry, radiometry);
  CalibrationRadiometryKesV1 const fresh;
  auto const* v1 = dynamic_cast<CalibrationRadiometryKesV1 const*>(radiometry);
  CalibrationRadiometryKesV1 const& gains = v1 != nullptr ? *v1 : fresh;
  std::string text;
  addLine(text, CAM_FILE_ID, "1");
  addLine(text, "CALIBRATION_SOURCE", quoted(geometry->calibSource()));
  addLine(text, "CAMERA_NAME", quoted(geometry->sensorId()));
  addLine(text, "SENSOR_LINE", quoted(geometry->bandId()));
  // A reader refuses a line without a date.
  if (geometry->calibDateTime().isValid()) {
    addLine(text, "CALIBRATION_DATE", quoted(dateTimeToString(geometry->calibDateTime())));
  }
  addLine(text, "FOCAL_LENGTH_MM", number(millimetres(geometry->focalLength())));
  addLine(text, "NUM_PIXELS", std::to_string(geometry->numSamples()));
  addLine(text, "PIXEL_SIZE", number(millimetres(geometry->pixelSize())));
  addLine(text, "RADIOMETRIC_GAIN", number(radiometry->radiometricGain()));
  addLine(text, "IRRADIANCE_GAIN", number(gains.irradianceGain()));
  addLine(text, "LEFTSIDE_GAIN", gains.leftSideGain() ? "1" : "0");
  addLine(text, "MNT_Z_OFFSET", number(mntOffset.z));
  addCoordinates(text, *geometry);
  if (!files::replaceFile(fileName, text)) {
    throw std::runtime_error("Failed to write calibration file: " + fileName);
  }
}

void SerializerCameraKesV1Cam::writeCam(std::string const& fileName, CameraKes const* camera,
                                        std::string const& bandId) const {
  auto const* geometry = camera->calibrationGeometry(bandId);
  auto const* radiometry = camera->calibrationRadiometry(bandId);
  if (geometry == nullptr && radiometry == nullptr) {
    failWithout(bandId);
  }
  writeCam(fileName, geometry, radiometry, camera->mntOffset());
}

}  // namespace sensor
