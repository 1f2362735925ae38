// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationRadiometryKesV1.h>

namespace sensor {

CalibrationRadiometryKesV1::CalibrationRadiometryKesV1() = default;

CalibrationRadiometryKesV1::~CalibrationRadiometryKesV1() = default;

float CalibrationRadiometryKesV1::radiometricGain() const {
  return mRadiometricGain;
}

float CalibrationRadiometryKesV1::centerWavelength() const {
  return mCenterWavelength;
}

float CalibrationRadiometryKesV1::bandWidth() const {
  return mBandWidth;
}

}  // namespace sensor
