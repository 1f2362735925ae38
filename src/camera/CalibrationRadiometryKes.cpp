// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationRadiometryKes.h>

namespace sensor {

CalibrationRadiometry::CalibrationRadiometry() = default;

CalibrationRadiometry::~CalibrationRadiometry() = default;

CalibrationRadiometryKes::CalibrationRadiometryKes() = default;

CalibrationRadiometryKes::~CalibrationRadiometryKes() = default;

void CalibrationRadiometryKes::setCalibDateTime(QDateTime const& dateTime) {
  mCalibDate.set(dateTime);
}

QDateTime const& CalibrationRadiometryKes::calibDateTime() const {
  return mCalibDate.get();
}

}  // namespace sensor
