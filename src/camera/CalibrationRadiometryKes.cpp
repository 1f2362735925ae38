// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CalibrationRadiometryKesV2.h>

#include <algorithm>
#include <cstddef>

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

CalibrationRadiometryKesV2::CalibrationRadiometryKesV2(int count)
    : mDsnuOffsets(static_cast<std::size_t>(std::max(count, 0))), mPrnuFactors(mDsnuOffsets.size()) {}

CalibrationRadiometryKesV2::~CalibrationRadiometryKesV2() = default;

float CalibrationRadiometryKesV2::radiometricGain() const {
  return mRadiometricGain;
}

float CalibrationRadiometryKesV2::centerWavelength() const {
  return mCenterWavelength;
}

float CalibrationRadiometryKesV2::bandWidth() const {
  return mBandWidth;
}

void CalibrationRadiometryKesV2::setDsnuOffsets(int index, Offsets const& offsets) {
  mDsnuOffsets[static_cast<std::size_t>(index)] = offsets;
}

void CalibrationRadiometryKesV2::setPrnuFactors(int index, Factors const& factors) {
  mPrnuFactors[static_cast<std::size_t>(index)] = factors;
}

}  // namespace sensor
