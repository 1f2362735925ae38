// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SensorLine.h"

#include <sensor/CalibrationGeometryKes.h>

#include <algorithm>
#include <limits>

namespace kes::detail {

namespace {

// The tables of a calibration. Reading them changes nothing, though their accessor isn't const.
void readTables(sensor::CalibrationGeometryKes const& calibration, std::vector<double>& x, std::vector<double>& y) {
  float pixelSize = 0.0F;
  int samples = 0;
  int imagingSamples = 0;
  sensor::CalibrationGeometryKes copy(calibration);
  copy.getPixelData(pixelSize, samples, imagingSamples, x, y, 1.0);
}

}  // namespace

SensorLine::SensorLine(sensor::CalibrationGeometryKes const& calibration, int offset)
    : mFirstSample(-static_cast<double>(offset)), mLastSample(static_cast<double>(calibration.numSamples()) - 1.0) {
  std::vector<double> x;
  std::vector<double> y;
  readTables(calibration, x, y);
  if (x.size() < 2 || x.size() != y.size()) {
    // Not a line: every position is NaN.
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    x = y = {nan, nan};
  }
  std::size_t const last = x.size() - 1;
  mFirstX = x[0];
  mFirstY = y[0];
  mScale = mLastSample / (y[last] - y[0]);
  mSampleLength = 1.0 / mScale;
  mSpacing = mLastSample / static_cast<double>(last);
  mEntriesPerSample = 1.0 / mSpacing;
  mChordX = (x[last] - x[0]) / mLastSample;
  for (std::size_t i = 0; i <= last; ++i) {
    std::size_t const next = std::min(i + 1, last);
    double const xStep = x[next] - x[i];
    double const pixelsPerQ = 1.0 / ((y[next] - y[i]) * mScale);
    mPixels.push_back({y[i], x[i], y[next] - y[i], xStep});
    mEntries.push_back({(y[i] - y[0]) * mScale, x[i], pixelsPerQ, xStep * pixelsPerQ});
  }
  mAscends = std::adjacent_find(mEntries.begin(), mEntries.end(),
                                [](Entry const& a, Entry const& b) { return !(a.q < b.q); }) == mEntries.end();
  makeStarts();
}

// The search goes up alone: it starts at or before the first entry above each whole q, and ends at the last interval,
// beyond which no q lies. Where y turns back along the line, that is one of its passages.
void SensorLine::makeStarts() {
  mEntries.back().q = std::numeric_limits<double>::infinity();
  std::size_t k = 0;
  for (double q = 0.0; q < mLastSample; q += 1.0) {
    while (k + 2 < mEntries.size() && q >= mEntries[k + 1].q) {
      ++k;
    }
    mStarts.push_back(static_cast<std::uint32_t>(k));
  }
}

}  // namespace kes::detail
