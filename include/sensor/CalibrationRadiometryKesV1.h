#pragma once

#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/kessensor_export.h>

namespace sensor {

/// The radiometry of a band of the older cameras: a few numbers.
class KESSENSOR_EXPORT CalibrationRadiometryKesV1 : public CalibrationRadiometryKes {
public:
  CalibrationRadiometryKesV1();
  ~CalibrationRadiometryKesV1() override;
  CalibrationRadiometryKesV1(CalibrationRadiometryKesV1 const&) = default;
  CalibrationRadiometryKesV1& operator=(CalibrationRadiometryKesV1 const&) = default;

  float radiometricGain() const override;
  float centerWavelength() const override;
  float bandWidth() const override;
  float irradianceGain() const { return mIrradianceGain; }
  /// Whether the gain belongs to the left side of the line.
  bool leftSideGain() const { return mLeftSideGain; }

  void setCenterWavelength(float metres) { mCenterWavelength = metres; }
  void setBandWidth(float metres) { mBandWidth = metres; }
  void setRadiometricGain(float gain) { mRadiometricGain = gain; }
  void setIrradianceGain(float gain) { mIrradianceGain = gain; }
  void setLeftSideGain(bool left) { mLeftSideGain = left; }

private:
  float mCenterWavelength = 0.0F;
  float mBandWidth = 0.0F;
  float mRadiometricGain = 1.0F;
  float mIrradianceGain = 0.0F;
  bool mLeftSideGain = true;
};

}  // namespace sensor
