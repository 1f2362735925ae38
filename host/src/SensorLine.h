#pragma once

#include <geo/XYPoint.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sensor {
class CalibrationGeometryKes;
}

namespace kes::detail {

/// Where the samples of a sensor line lie in the focal plane (x along the flight, y along the line, metres), and back, in double
/// precision. Between two calibrated pixels both are linear, beyond the ends of the line they go on along the chord through
/// its first and last pixel. One way is the exact inverse of the other wherever y runs one way along the line.
class SensorLine {
public:
  /// A sample, and the focal x of the sensor line there.
  struct Sample {
    double sample;
    double x;
  };

  /// `offset` is the sample of the calibration at which the image's sample 0 lies.
  SensorLine(sensor::CalibrationGeometryKes const& calibration, int offset);

  /// The first and the last calibrated sample, as samples of the image.
  double firstSample() const { return -mOffset; }
  double lastSample() const { return mLastSample - mOffset; }
  /// Focal position of a sample of the image.
  geo::XYPoint focal(double sample) const;
  /// The sample of the image that lies at a focal y.
  Sample at(double y) const;

private:
  // From a calibrated pixel to the next. y is turned so that it increases along the line.
  struct Entry {
    double y;
    double x;
    double yStep;
    double xStep;
  };

  std::size_t entryAt(double y, double estimate) const;

  std::vector<Entry> mEntries;  // the last one has no steps
  double mOffset;
  double mDirection;   // 1, or -1 for a line that runs against the focal y
  double mLastSample;  // of the calibration
  double mSpacing;     // samples from an entry to the next
  double mScale;       // samples per unit of y along the chord
  double mChordX;      // change of x and of y along the chord, per sample
  double mChordY;
};

inline geo::XYPoint SensorLine::focal(double sample) const {
  double const s = sample + mOffset;
  if (!(s >= 0.0 && s < mLastSample)) {
    return {mEntries.front().x + mChordX * s, mDirection * (mEntries.front().y + mChordY * s)};
  }
  double const p = s / mSpacing;
  auto const k = static_cast<std::int64_t>(p);
  Entry const& entry = mEntries[static_cast<std::size_t>(k)];
  double const part = p - static_cast<double>(k);
  return {entry.x + entry.xStep * part, mDirection * (entry.y + entry.yStep * part)};
}

inline SensorLine::Sample SensorLine::at(double y) const {
  double const turned = mDirection * y;
  double const q = (turned - mEntries.front().y) * mScale;
  if (!(q > 0.0 && q < mLastSample)) {
    return {q - mOffset, mEntries.front().x + mChordX * q};
  }
  std::size_t const k = entryAt(turned, q / mSpacing);
  Entry const& entry = mEntries[k];
  double const part = (turned - entry.y) / entry.yStep;
  return {(static_cast<double>(k) + part) * mSpacing - mOffset, entry.x + entry.xStep * part};
}

// From the entry that the mean scale points to, step by step to the one whose interval holds y.
inline std::size_t SensorLine::entryAt(double y, double estimate) const {
  std::size_t const last = mEntries.size() - 2;
  auto k = static_cast<std::size_t>(static_cast<std::int64_t>(estimate));
  k = k < last ? k : last;
  while (k < last && y >= mEntries[k + 1].y) {
    ++k;
  }
  while (k > 0 && y < mEntries[k].y) {
    --k;
  }
  return k;
}

}  // namespace kes::detail
