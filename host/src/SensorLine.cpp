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
    : mOffset(offset), mDirection(1.0), mLastSample(static_cast<double>(calibration.numSamples()) - 1.0) {
  std::vector<double> x;
  std::vector<double> y;
  readTables(calibration, x, y);
  if (x.size() < 2 || x.size() != y.size()) {
    // Not a line: every position is NaN.
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    x = y = {nan, nan};
  }
  std::size_t const last = x.size() - 1;
  mDirection = y[last] < y[0] ? -1.0 : 1.0;
  for (std::size_t i = 0; i <= last; ++i) {
    std::size_t const next = std::min(i + 1, last);
    mEntries.push_back({mDirection * y[i], x[i], mDirection * (y[next] - y[i]), x[next] - x[i]});
  }
  mSpacing = mLastSample / static_cast<double>(last);
  mScale = mLastSample / (mDirection * (y[last] - y[0]));
  mChordX = (x[last] - x[0]) / mLastSample;
  mChordY = 1.0 / mScale;
}

}  // namespace kes::detail
