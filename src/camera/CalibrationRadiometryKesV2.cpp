// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationRadiometryKesV2.h>

#include <algorithm>
#include <cstddef>

namespace sensor {

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
