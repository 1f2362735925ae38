// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationDate.h>
#include <sensor/CalibrationGeometry.h>
#include <sensor/kessensor_export.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sensor {

/// Nominal height offset of the stabilised mount, metres. Published for callers.
inline constexpr float nominalMNTZOffset = 0.171F;

/// The geometry of a sensor line by a table of its calibrated pixels: focal x (along the flight) and focal y (along the
/// line) of each, in metres. The table may be sparser than the line, which it then spans evenly; between two entries,
/// positions are linear. A line may run reverse, against the focal y.
///
/// Beyond the table, a sample lies on the chord through the first and last entries, and a focal position has the sample
/// that the mean scale of the line sets it. The way from focal plane to sample corrects the entry that the mean scale
/// points to once, by the local slope. It is the exact inverse for a table so smooth that the corrected entry is the
/// right one, as those of lenses are; on any other it interpolates in a neighbouring interval. Neither way searches or
/// allocates.
///
/// The operations with float arguments are the single-precision forms of those with points. NaN leads to NaN.
/// A table of one entry has this very position at every sample, an empty one NaN, and from the focal plane both give
/// NaN.
///
/// A value: copies are deep. Filled once, it may be used in any number of threads.
class KESSENSOR_EXPORT CalibrationGeometryKes : public CalibrationGeometry {
public:
  /// Empty tables, all numbers 0, no date.
  CalibrationGeometryKes();
  /// A copy or, with a `sampleCount` that differs from the other's samples, a cut-out of that many samples (0: all that
  /// are left) from `firstSample` on, resampled to one entry a sample. In both all samples count as imaging ones. A
  /// cut-out of all samples is a copy wherever it begins, and one of fewer than no samples is empty.
  CalibrationGeometryKes(CalibrationGeometryKes const& other, int firstSample = 0, int sampleCount = 0);
  ~CalibrationGeometryKes() override;
  CalibrationGeometryKes& operator=(CalibrationGeometryKes const&) = default;

  void setCalibDateTime(QDateTime const& dateTime) override;
  QDateTime const& calibDateTime() const override;
  float focalLength() const override;
  float pixelSize() const override;
  unsigned int numSamples() const override;
  /// Always 1.
  unsigned int numLines() const override;
  void focalToImage(geo::XYPoint const& focal, geo::XYPoint const& offset, geo::XYPoint& image) const override;
  void imageToFocal(geo::XYPoint const& image, geo::XYPoint const& offset, geo::XYPoint& focal) const override;

  /// Metres.
  virtual void setFocalLength(float focalLength);
  /// Fills the tables: x along the flight and y along the line of each calibrated pixel, metres, as the pixel size. The
  /// line has `numSamples` samples, of which `numImagingSamples` collect light. Throws std::runtime_error "Disagreement
  /// in the number of calibrated pixels." when the tables differ in length; the tables are replaced all the same, the
  /// numbers stay.
  virtual void setPixelData(float pixelSize, int numSamples, int numImagingSamples, std::vector<double> const& x,
                            std::vector<double> const& y);
  virtual void setPixelData(float pixelSize, int numSamples, int numImagingSamples, std::vector<float> const& x,
                            std::vector<float> const& y);
  /// What `setPixelData` was given. `scale` applies to the pixel size alone; the tables come unscaled.
  virtual void getPixelData(float& pixelSize, int& numSamples, int& numImagingSamples, std::vector<double>& x,
                            std::vector<double>& y, double scale);
  /// Samples that collect light.
  virtual unsigned int numImagingSamples() const;
  /// The sample of a focal position, less `offsetX`; reads `y` and `offsetX` alone.
  virtual float sample(float x, float y, float offsetX, float offsetY) const;
  /// Focal x of a sample; reads `sample` and `offsetSample` alone.
  virtual float x(float sample, float line, float offsetSample, float offsetLine) const;
  /// Focal y of a sample; reads `sample` and `offsetSample` alone.
  virtual float y(float sample, float line, float offsetSample, float offsetLine) const;
  /// Direction of view in the camera's plane, radians from focal x towards focal y.
  virtual float azimuth(geo::XYPoint const& image, geo::XYPoint const& offset) const;
  /// Angle between the line of sight and the optical axis, radians.
  virtual float zenith(geo::XYPoint const& image, geo::XYPoint const& offset) const;
  /// Angle between the middle of the line and the optical axis along the flight, radians, forward positive.
  virtual float lookAngle() const;

  /// Whether samples run against the focal y.
  bool isReverse() const { return mReverse; }
  /// Entry i of the tables; the index isn't tested.
  float const& coordX(unsigned int i) const { return mCoordX[i]; }
  float const& coordY(unsigned int i) const { return mCoordY[i]; }
  /// Whether the tables have an entry for each sample of a line of two samples or more.
  bool isFull() const;
  /// Adds `d` to the focal x of every entry.
  void shiftX(float d);

private:
  template <class Real>
  struct Place;
  template <class Real>
  Real tablePosition(Real sample) const;
  template <class Real>
  Place<Real> place(Real sample) const;
  template <class Real>
  Place<Real> chord(Real sample) const;
  template <class Real>
  static Real between(std::vector<float> const& table, Place<Real> const& place);
  template <class Real>
  Real position(Real y) const;
  void cutOut(CalibrationGeometryKes const& other, int firstSample);
  float meanScale() const;

  CalibrationDate mCalibDate;
  std::vector<float> mCoordX;
  std::vector<float> mCoordY;
  float mFocalLength = 0.0F;
  float mPixelSize = 0.0F;
  float mSampleScale = 0.0F;
  std::int32_t mNumSamples = 0;
  std::int32_t mNumImagingSamples = 0;
  std::int32_t mNumCalibrated = 0;
  float mSampleSpacing = 0.0F;
  bool mReverse = false;
};

}  // namespace sensor
