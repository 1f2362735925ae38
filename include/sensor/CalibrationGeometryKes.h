#pragma once

#include <sensor/CalibrationDate.h>
#include <sensor/CalibrationGeometry.h>
#include <sensor/kessensor_export.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sensor {

/// Nominal height of the stabilised mount's centre above the camera, metres.
inline constexpr float nominalMNTZOffset = 0.171F;

/// The geometry of a sensor line by a table of its calibrated pixels. The table may be sparser than the line; positions
/// between two entries are linear. A line may run reverse, against the focal y.
///
/// Outside the table, a sample lies on the chord through the first and last entries, and a focal position has the sample that
/// the mean scale of the line gives it. The way from focal plane to sample makes one correction of the mean scale's
/// guess, and is the exact inverse as long as a table is smooth enough for the guess to be within one entry.
///
/// The operations with float arguments are the single-precision forms of those with points.
///
/// A value: copies are deep. Filled once, it may be used in any number of threads.
class KESSENSOR_EXPORT CalibrationGeometryKes : public CalibrationGeometry {
public:
  /// Empty tables, all numbers 0, no date.
  CalibrationGeometryKes();
  /// A copy or, with a `sampleCount` that differs from the other's samples, a cut-out of that many samples (0: all that
  /// are left) from `firstSample` on, resampled to one entry a sample.
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

  virtual void setFocalLength(float focalLength);
  /// Fills the tables: x along the flight and y along the line of each calibrated pixel, metres. Throws std::runtime_error
  /// "Disagreement in the number of calibrated pixels." when they differ in length; the tables are replaced all the same.
  virtual void setPixelData(float pixelSize, int numSamples, int numImagingSamples, std::vector<double> const& x,
                            std::vector<double> const& y);
  virtual void setPixelData(float pixelSize, int numSamples, int numImagingSamples, std::vector<float> const& x,
                            std::vector<float> const& y);
  /// What `setPixelData` was given. `scale` applies to the pixel size alone; the tables come unscaled.
  virtual void getPixelData(float& pixelSize, int& numSamples, int& numImagingSamples, std::vector<double>& x,
                            std::vector<double>& y, double scale);
  /// Samples that collect light.
  virtual unsigned int numImagingSamples() const;
  /// The sample of a focal position; reads `y` and `offsetX` alone.
  virtual float sample(float x, float y, float offsetX, float offsetY) const;
  /// Focal x and y of a sample; read `sample` and `offsetSample` alone.
  virtual float x(float sample, float line, float offsetSample, float offsetLine) const;
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
  static Real between(std::vector<float> const& table, Place<Real> const& place);
  template <class Real>
  Real position(Real y) const;
  void cutOut(CalibrationGeometryKes const& other, int firstSample, int sampleCount);

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
