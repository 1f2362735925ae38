// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sensor {
class CalibrationGeometryKes;
}

namespace kes::detail {

/// Where the samples of a sensor line lie in the focal plane (x along the flight, y along the line, metres), and back,
/// in double precision. Between two calibrated pixels both are linear, beyond the ends of the line they go on along the
/// chord through its first and last pixel. One way is the exact inverse of the other wherever y runs one way along the
/// line.
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
  double firstSample() const { return mFirstSample; }
  double lastSample() const { return mFirstSample + mLastSample; }
  /// Whether y runs one way along the line.
  bool ascends() const { return mAscends; }
  /// Focal position of a sample of the image.
  geo::XYPoint focal(double sample) const;
  /// The focal position's change for each sample there.
  geo::XYPoint slope(double sample) const;
  /// A sample's coordinate along the line, from -1 at the first calibrated sample to 1 at the last one, and its change
  /// for each sample.
  struct Normalised {
    double n;
    double perSample;
  };
  Normalised normalised(double sample) const {
    double const perSample = 2.0 / mLastSample;
    return {(sample - mFirstSample) * perSample - 1.0, perSample};
  }
  /// The sample of the image that lies at a focal y.
  Sample at(double y) const;

private:
  friend class LaneTables;

  // A calibrated pixel in the focal plane, and the way to the next.
  struct Pixel {
    double y;
    double x;
    double yStep;
    double xStep;
  };
  // For the way back, positions q along the line are in samples by its mean scale: 0 at the first calibrated pixel,
  // increasing along the line. From a calibrated pixel to the next, the sample and x are linear in q.
  struct alignas(32) Entry {
    double q;
    double x;
    double pixelsPerQ;
    double xPerQ;
  };

  // Where a sample between the ends of the line lies: between a calibrated pixel and the next.
  struct Place {
    Pixel const& pixel;
    double part;
  };
  Place placeOf(double s) const;
  bool isBetweenEnds(double s) const { return s >= 0.0 && s < mLastSample; }
  void makeStarts();
  std::size_t entryAt(double q) const;

  std::vector<Pixel> mPixels;          // the last one has no steps
  std::vector<Entry> mEntries;         // the last one ends the search
  std::vector<std::uint32_t> mStarts;  // for each whole q, an entry from which that of a greater q is near
  double mFirstSample;                 // of the image
  double mLastSample;                  // of the calibration
  double mFirstY;
  double mScale;         // q per unit of y; negative for a line that runs against the focal y
  double mSampleLength;  // of y
  double mSpacing;       // samples from an entry to the next
  double mEntriesPerSample;
  double mFirstX;
  double mChordX;  // change of x along the chord, per q
  bool mAscends;   // in q
};

inline geo::XYPoint SensorLine::focal(double sample) const {
  double const s = sample - mFirstSample;
  if (!isBetweenEnds(s)) {
    return {mFirstX + mChordX * s, mFirstY + mSampleLength * s};
  }
  auto const [pixel, part] = placeOf(s);
  return {pixel.x + pixel.xStep * part, pixel.y + pixel.yStep * part};
}

inline geo::XYPoint SensorLine::slope(double sample) const {
  double const s = sample - mFirstSample;
  if (!isBetweenEnds(s)) {
    return {mChordX, mSampleLength};
  }
  Pixel const& pixel = placeOf(s).pixel;
  return {pixel.xStep * mEntriesPerSample, pixel.yStep * mEntriesPerSample};
}

inline SensorLine::Place SensorLine::placeOf(double s) const {
  double const p = s * mEntriesPerSample;
  // With a sparse table, rounding can lead to the last entry, where no interval begins.
  auto const last = static_cast<std::int64_t>(mPixels.size()) - 2;
  auto const whole = static_cast<std::int64_t>(p);
  std::int64_t const k = whole < last ? whole : last;
  return {mPixels[static_cast<std::size_t>(k)], p - static_cast<double>(k)};
}

inline SensorLine::Sample SensorLine::at(double y) const {
  double const q = (y - mFirstY) * mScale;
  if (!(q > 0.0 && q < mLastSample)) {
    return {q + mFirstSample, mFirstX + mChordX * q};
  }
  std::size_t const k = entryAt(q);
  Entry const& entry = mEntries[k];
  double const away = q - entry.q;
  return {(static_cast<double>(static_cast<std::int64_t>(k)) + away * entry.pixelsPerQ) * mSpacing + mFirstSample,
          entry.x + entry.xPerQ * away};
}

inline std::size_t SensorLine::entryAt(double q) const {
  std::size_t k = mStarts[static_cast<std::size_t>(static_cast<std::int64_t>(q))];
  while (q >= mEntries[k + 1].q) {
    ++k;
  }
  return k;
}

}  // namespace kes::detail
