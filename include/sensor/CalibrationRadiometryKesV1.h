// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/kessensor_export.h>

namespace sensor {

/// The radiometry of a band of the older cameras: a few numbers.
class KESSENSOR_EXPORT CalibrationRadiometryKesV1 : public CalibrationRadiometryKes {
public:
  /// Gain 1 of the left side, all else 0.
  CalibrationRadiometryKesV1();
  ~CalibrationRadiometryKesV1() override;
  CalibrationRadiometryKesV1(CalibrationRadiometryKesV1 const&) = default;
  CalibrationRadiometryKesV1& operator=(CalibrationRadiometryKesV1 const&) = default;

  float radiometricGain() const override;
  float centerWavelength() const override;
  float bandWidth() const override;
  /// From digital numbers to irradiance; 0 when not known.
  float irradianceGain() const { return mIrradianceGain; }
  /// Whether the gain belongs to the left side of the line.
  bool leftSideGain() const { return mLeftSideGain; }

  /// Metres.
  void setCenterWavelength(float metres) { mCenterWavelength = metres; }
  /// Metres.
  void setBandWidth(float metres) { mBandWidth = metres; }
  /// From digital numbers to radiance.
  void setRadiometricGain(float gain) { mRadiometricGain = gain; }
  /// From digital numbers to irradiance.
  void setIrradianceGain(float gain) { mIrradianceGain = gain; }
  /// Whether the gain belongs to the left side of the line.
  void setLeftSideGain(bool left) { mLeftSideGain = left; }

private:
  float mCenterWavelength = 0.0F;
  float mBandWidth = 0.0F;
  float mRadiometricGain = 1.0F;
  float mIrradianceGain = 0.0F;
  bool mLeftSideGain = true;
};

}  // namespace sensor
