// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace sensor {

/// The radiometry of a band of the newer camera: besides the numbers, tables of offsets and factors per pixel, in
/// several sets, and a curve of the non-linearity for each half of the line. A value: copies are deep.
class KESSENSOR_EXPORT CalibrationRadiometryKesV2 : public CalibrationRadiometryKes {
public:
  /// Dark signal of each pixel, digital numbers.
  using Offsets = std::vector<std::uint16_t>;
  /// Response of each pixel, as a factor.
  using Factors = std::vector<float>;
  /// Points of a curve of non-linearity, as the calibration file has them.
  using Curve = std::vector<std::pair<double, double>>;

  /// Gain 1, `count` empty sets of offsets and of factors (none when it is negative), all else 0 or empty.
  explicit CalibrationRadiometryKesV2(int count);
  ~CalibrationRadiometryKesV2() override;
  CalibrationRadiometryKesV2(CalibrationRadiometryKesV2 const&) = default;
  CalibrationRadiometryKesV2& operator=(CalibrationRadiometryKesV2 const&) = default;

  float radiometricGain() const override;
  float centerWavelength() const override;
  float bandWidth() const override;

  /// Replaces a set of offsets. The index isn't tested: it must be below the count of sets.
  void setDsnuOffsets(int index, Offsets const& offsets);
  /// Replaces a set of factors. The index isn't tested: it must be below the count of sets.
  void setPrnuFactors(int index, Factors const& factors);
  /// Curve of the left half of the line.
  void setLeftNonLinearity(Curve const& curve) { mLeftNonLinearity = curve; }
  /// Curve of the right half of the line.
  void setRightNonLinearity(Curve const& curve) { mRightNonLinearity = curve; }
  /// From digital numbers to radiance.
  void setRadiometricGain(float gain) { mRadiometricGain = gain; }
  /// Metres.
  void setCenterWavelength(float metres) { mCenterWavelength = metres; }
  /// Metres.
  void setBandWidth(float metres) { mBandWidth = metres; }

  /// All sets, and both curves; the references live as long as this object.
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
