// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationInfo.h>

namespace sensor {

namespace {
constexpr char const* unknown = "Unknown";
}

CalibrationInfo::CalibrationInfo() : mCalibSource(unknown), mSensorId(unknown), mBandId(unknown) {}

CalibrationInfo::~CalibrationInfo() = default;

void CalibrationInfo::setSensorId(std::string const& sensorId) {
  mSensorId = sensorId;
}

void CalibrationInfo::setBandId(std::string const& bandId) {
  mBandId = bandId;
}

void CalibrationInfo::setCalibSource(std::string const& source) {
  mCalibSource = source;
}

void CalibrationInfo::setFileName(std::string const& fileName) {
  mFileName = fileName;
}

std::string const& CalibrationInfo::sensorId() const {
  return mSensorId;
}

std::string const& CalibrationInfo::bandId() const {
  return mBandId;
}

std::string const& CalibrationInfo::calibSource() const {
  return mCalibSource;
}

std::string const& CalibrationInfo::fileName() const {
  return mFileName;
}

}  // namespace sensor
