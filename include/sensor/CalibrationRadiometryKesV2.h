#pragma once

#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace sensor {

/// The radiometry of a band of the newer camera: besides the numbers, tables of offsets and factors per pixel, in several
/// sets, and a curve of the non-linearity for each half of the line.
class KESSENSOR_EXPORT CalibrationRadiometryKesV2 : public CalibrationRadiometryKes {
public:
  using Offsets = std::vector<std::uint16_t>;
  using Factors = std::vector<float>;
  using Curve = std::vector<std::pair<double, double>>;

  /// `count` empty sets of offsets and of factors.
  explicit CalibrationRadiometryKesV2(int count);
  ~CalibrationRadiometryKesV2() override;
  CalibrationRadiometryKesV2(CalibrationRadiometryKesV2 const&) = default;
  CalibrationRadiometryKesV2& operator=(CalibrationRadiometryKesV2 const&) = default;

  float radiometricGain() const override;
  float centerWavelength() const override;
  float bandWidth() const override;

  /// Offsets of the dark signal (one set: a value a pixel). The index isn't tested.
  void setDsnuOffsets(int index, Offsets const& offsets);
  /// Factors of the pixels' response. The index isn't tested.
  void setPrnuFactors(int index, Factors const& factors);
  void setLeftNonLinearity(Curve const& curve) { mLeftNonLinearity = curve; }
  void setRightNonLinearity(Curve const& curve) { mRightNonLinearity = curve; }
  void setRadiometricGain(float gain) { mRadiometricGain = gain; }
  void setCenterWavelength(float metres) { mCenterWavelength = metres; }
  void setBandWidth(float metres) { mBandWidth = metres; }

  std::vector<Offsets> const& dsnuOffsets() const { return mDsnuOffsets; }
  std::vector<Factors> const& prnuFactors() const { return mPrnuFactors; }
  Curve const& leftNonLinearity() const { return mLeftNonLinearity; }
  Curve const& rightNonLinearity() const { return mRightNonLinearity; }

private:
  float mRadiometricGain = 1.0F;
  float mCenterWavelength = 0.0F;
  float mBandWidth = 0.0F;
  std::vector<Offsets> mDsnuOffsets;
  std::vector<Factors> mPrnuFactors;
  Curve mLeftNonLinearity;
  Curve mRightNonLinearity;
};

}  // namespace sensor
