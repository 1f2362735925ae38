// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometry.h>
#include <sensor/CalibrationGeometryKes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace sensor {

namespace {

// Samples of a cut-out of `sampleCount` samples, or of all that are left from `firstSample` on when that is 0.
std::int32_t samplesOfCutOut(std::int32_t samples, int firstSample, int sampleCount) {
  std::int64_t const left = static_cast<std::int64_t>(samples) - firstSample;
  std::int64_t const count = sampleCount != 0 ? sampleCount : left;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(count, 0, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

// Two entries of a table, and the part of the way from the first to the second.
template <class Real>
struct CalibrationGeometryKes::Place {
  std::size_t first;
  std::size_t second;
  Real part;
};

CalibrationGeometryKes::CalibrationGeometryKes() = default;

CalibrationGeometryKes::~CalibrationGeometryKes() = default;

CalibrationGeometryKes::CalibrationGeometryKes(CalibrationGeometryKes const& other, int firstSample, int sampleCount)
    : CalibrationGeometry(other), mCalibDate(other.mCalibDate), mFocalLength(other.mFocalLength),
      mPixelSize(other.mPixelSize), mSampleScale(other.mSampleScale),
      mNumSamples(samplesOfCutOut(other.mNumSamples, firstSample, sampleCount)), mNumImagingSamples(mNumSamples),
      mNumCalibrated(other.mNumCalibrated), mSampleSpacing(other.mSampleSpacing), mReverse(other.mReverse) {
  if (mNumSamples == other.mNumSamples) {
    mCoordX = other.mCoordX;
    mCoordY = other.mCoordY;
  } else {
    cutOut(other, firstSample);
  }
}

void CalibrationGeometryKes::cutOut(CalibrationGeometryKes const& other, int firstSample) {
  mSampleSpacing = 1.0F;
  mNumCalibrated = mNumSamples;
  mCoordX.reserve(static_cast<std::size_t>(mNumSamples));
  mCoordY.reserve(static_cast<std::size_t>(mNumSamples));
  for (int i = 0; i < mNumSamples; ++i) {
    mCoordX.push_back(other.x(static_cast<float>(i), 0.0F, static_cast<float>(firstSample), 0.0F));
    mCoordY.push_back(other.y(static_cast<float>(i), 0.0F, static_cast<float>(firstSample), 0.0F));
  }
  mSampleScale = mNumSamples < 2 ? 0.0F : meanScale();
}

float CalibrationGeometryKes::meanScale() const {
  return (static_cast<float>(mNumSamples) - 1.0F) / (mCoordY.back() - mCoordY.front());
}

void CalibrationGeometryKes::setCalibDateTime(QDateTime const& dateTime) {
  mCalibDate.set(dateTime);
}

QDateTime const& CalibrationGeometryKes::calibDateTime() const {
  return mCalibDate.get();
}

float CalibrationGeometryKes::focalLength() const {
  return mFocalLength;
}

float CalibrationGeometryKes::pixelSize() const {
  return mPixelSize;
}

unsigned int CalibrationGeometryKes::numSamples() const {
  return static_cast<unsigned int>(mNumSamples);
}

unsigned int CalibrationGeometryKes::numLines() const {
  return 1;
}

unsigned int CalibrationGeometryKes::numImagingSamples() const {
  return static_cast<unsigned int>(mNumImagingSamples);
}

void CalibrationGeometryKes::setFocalLength(float focalLength) {
  mFocalLength = focalLength;
}

void CalibrationGeometryKes::setPixelData(float pixelSize, int numSamples, int numImagingSamples,
                                          std::vector<double> const& x, std::vector<double> const& y) {
  auto const rounded = [](std::vector<double> const& values) {
    std::vector<float> result(values.size());
    std::transform(values.begin(), values.end(), result.begin(), [](double v) { return static_cast<float>(v); });
    return result;
  };
  std::vector<float> const floatY = rounded(y);
  setPixelData(pixelSize, numSamples, numImagingSamples, rounded(x), floatY);
}

void CalibrationGeometryKes::setPixelData(float pixelSize, int numSamples, int numImagingSamples,
                                          std::vector<float> const& x, std::vector<float> const& y) {
  mCoordX = x;
  mCoordY = y;
  mNumCalibrated = static_cast<std::int32_t>(mCoordX.size());
  if (mCoordX.size() != mCoordY.size()) {
    throw std::runtime_error("Disagreement in the number of calibrated pixels.");
  }
  mPixelSize = pixelSize;
  mNumSamples = numSamples;
  mNumImagingSamples = numImagingSamples;
  if (mNumCalibrated < 2) {
    mSampleSpacing = 1.0F;
    mSampleScale = 0.0F;
    mReverse = false;
    return;
  }
  mSampleSpacing = static_cast<float>(static_cast<double>(mNumSamples) - 1.0) / static_cast<float>(mNumCalibrated - 1);
  mSampleScale = meanScale();
  mReverse = mCoordY[0] > mCoordY[1];
}

void CalibrationGeometryKes::getPixelData(float& pixelSize, int& numSamples, int& numImagingSamples,
                                          std::vector<double>& x, std::vector<double>& y, double scale) {
  pixelSize = static_cast<float>(static_cast<double>(mPixelSize) * scale);
  numSamples = mNumSamples;
  numImagingSamples = mNumImagingSamples;
  x.assign(mCoordX.begin(), mCoordX.end());
  y.assign(mCoordY.begin(), mCoordY.end());
}

// A full table, the usual case, is spared a division that would change nothing.
template <class Real>
Real CalibrationGeometryKes::tablePosition(Real sample) const {
  return mSampleSpacing == 1.0F ? sample : sample / static_cast<Real>(mSampleSpacing);
}

// `sample` counts from the first sample of the calibration.
template <class Real>
CalibrationGeometryKes::Place<Real> CalibrationGeometryKes::place(Real sample) const {
  Real const p = tablePosition(sample);
  // In double, which holds every count exactly. A NaN is outside.
  if (!(p >= Real{0} && static_cast<double>(p) < static_cast<double>(mNumCalibrated) - 1.0)) {
    return chord(sample);
  }
  auto const i = static_cast<std::int32_t>(p);
  return {static_cast<std::size_t>(i), static_cast<std::size_t>(i) + 1, p - static_cast<Real>(i)};
}

// On the straight line through the first entry, at sample 0, and the last one, at the last sample.
template <class Real>
CalibrationGeometryKes::Place<Real> CalibrationGeometryKes::chord(Real sample) const {
  if (mNumCalibrated < 2) {
    return {0, 0, Real{0}};
  }
  return {0, static_cast<std::size_t>(mNumCalibrated) - 1,
          sample / static_cast<Real>(static_cast<double>(mNumSamples) - 1.0)};
}

template <class Real>
Real CalibrationGeometryKes::between(std::vector<float> const& table, Place<Real> const& place) {
  // An empty table, or the shorter one of two that were refused.
  if (place.second >= table.size()) {
    return std::numeric_limits<Real>::quiet_NaN();
  }
  float const a = table[place.first];
  float const b = table[place.second];
  return static_cast<Real>(b - a) * place.part + static_cast<Real>(a);
}

// The sample, from the first of the calibration on, whose focal y is given: q by the mean scale of the line, which
// points to the table's entry k; corrected once, to entry m, by the local slope there.
template <class Real>
Real CalibrationGeometryKes::position(Real y) const {
  if (mCoordY.size() < 2) {
    return std::numeric_limits<Real>::quiet_NaN();
  }
  float const* const table = mCoordY.data();
  Real const q = (y - static_cast<Real>(table[0])) * static_cast<Real>(mSampleScale);
  if (!(q > Real{0}) || q >= static_cast<Real>(mNumSamples) - Real{1}) {
    return q;
  }
  std::int64_t const lastInterval = static_cast<std::int64_t>(mCoordY.size()) - 2;
  // How many entries, with a fraction, y lies after entry i by the slope there.
  auto const entriesAfter = [&](std::int64_t i) {
    return (y - static_cast<Real>(table[i])) / static_cast<Real>(table[i + 1] - table[i]);
  };
  // With a sparse table, rounding can lead to the last entry, where no interval begins.
  std::int64_t const k = std::clamp<std::int64_t>(truncated<std::int32_t>(tablePosition(q)), 0, lastInterval);
  Real const entries = entriesAfter(k);
  std::int64_t const m = std::clamp<std::int64_t>(k + truncated<std::int32_t>(entries), 0, lastInterval);
  return ((m == k ? entries : entriesAfter(m)) + static_cast<Real>(m)) * static_cast<Real>(mSampleSpacing);
}

void CalibrationGeometryKes::imageToFocal(geo::XYPoint const& image, geo::XYPoint const& offset,
                                          geo::XYPoint& focal) const {
  Place<double> const p = place(image.x + offset.x);
  focal.x = between(mCoordX, p);
  focal.y = between(mCoordY, p);
}

void CalibrationGeometryKes::focalToImage(geo::XYPoint const& focal, geo::XYPoint const& offset,
                                          geo::XYPoint& image) const {
  image.x = position(focal.y) - offset.x;
}

float CalibrationGeometryKes::sample(float /*x*/, float y, float offsetX, float /*offsetY*/) const {
  return position(y) - offsetX;
}

float CalibrationGeometryKes::x(float sample, float /*line*/, float offsetSample, float /*offsetLine*/) const {
  return between(mCoordX, place(sample + offsetSample));
}

float CalibrationGeometryKes::y(float sample, float /*line*/, float offsetSample, float /*offsetLine*/) const {
  return between(mCoordY, place(sample + offsetSample));
}

float CalibrationGeometryKes::azimuth(geo::XYPoint const& image, geo::XYPoint const& offset) const {
  geo::XYPoint focal;
  imageToFocal(image, offset, focal);
  return static_cast<float>(std::atan2(focal.y, focal.x));
}

float CalibrationGeometryKes::zenith(geo::XYPoint const& image, geo::XYPoint const& offset) const {
  geo::XYPoint focal;
  imageToFocal(image, offset, focal);
  double const radius = std::sqrt(focal.x * focal.x + focal.y * focal.y);
  return static_cast<float>(std::atan(radius / static_cast<double>(mFocalLength)));
}

float CalibrationGeometryKes::lookAngle() const {
  return std::atan(x(static_cast<float>(mNumSamples) * 0.5F, 0.0F, 0.0F, 0.0F) / focalLength());
}

bool CalibrationGeometryKes::isFull() const {
  return mNumSamples >= 2 && mCoordX.size() == static_cast<std::size_t>(mNumSamples) &&
         mCoordY.size() == mCoordX.size();
}

void CalibrationGeometryKes::shiftX(float d) {
  for (float& entry : mCoordX) {
    entry += d;
  }
}

CalibrationGeometry::CalibrationGeometry() = default;

CalibrationGeometry::~CalibrationGeometry() = default;

}  // namespace sensor
