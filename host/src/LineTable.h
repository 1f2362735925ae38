// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrientationTable.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace sensor {
class KESImage;
}

namespace kes::detail {

/// When the lines of an image were exposed, in double precision: between two whole lines the time is linear, as is the
/// line correction. A line with TDI is exposed around another time than its own, which the correction (in lines) makes
/// up for in the focal plane.
///
/// The table goes on for `margin` lines before the first line and after the last one, at the first and the last cycle
/// time. Where the TDI stages set in or end at a whole line, time and correction step; a whole line belongs to the
/// interval that it begins. Where the integration time steps from one line to the next, both are linear between the two
/// lines' own.
class LineTable {
public:
  static constexpr int margin = 256;

  /// From line `number` to the next, of which a line is u after the first: time + u timeStep.
  struct Interval {
    double time;
    double timeStep;
  };
  struct Correction {
    double lines;
    double step;
  };

  /// Times count from that of line 0. With a number of TDI stages in place of the image's own, the table has the lines
  /// of the plain times, and one correction for all: line L of the image is line L - correction of the table.
  LineTable(sensor::KESImage const& image, OrientationTable const& orientation, std::optional<float> tdiStages = {});

  /// Lines: how much earlier than its own time a line with a given number of TDI stages counts as exposed.
  static double correctionOf(double tdiStages) { return tdiStages - 1.0; }
  /// Seconds: the time of line 0 of an image, from which all times of its tables count.
  static double epochOf(sensor::KESImage const& image);

  bool isEmpty() const { return mIntervals.empty(); }
  /// The lines that the table covers.
  double firstLine() const { return -margin; }
  double lastLine() const { return firstLine() + static_cast<double>(mIntervals.size()); }
  std::size_t size() const { return mIntervals.size(); }
  double lineOf(std::size_t interval) const { return firstLine() + static_cast<double>(interval); }
  /// The interval of a line; one beyond the table has the nearest.
  std::size_t intervalOf(double line) const {
    double const place = line - firstLine();
    auto const last = static_cast<std::int64_t>(mIntervals.size()) - 1;
    std::int64_t const i =
        place > 0.0 ? (place < static_cast<double>(last) ? static_cast<std::int64_t>(place) : last) : 0;
    return static_cast<std::size_t>(i);
  }

  Interval const& operator[](std::size_t i) const { return mIntervals[i]; }
  /// The correction, in lines, `v` lines after the beginning of an interval.
  double correction(std::size_t i, double v) const {
    return mCorrections.empty() ? 0.0 : mCorrections[i].lines + mCorrections[i].step * v;
  }
  bool hasCorrections() const { return !mCorrections.empty(); }
  Correction correctionOf(std::size_t i) const { return mCorrections.empty() ? Correction{0.0, 0.0} : mCorrections[i]; }
  /// The interval of the orientation at an interval's beginning.
  std::size_t record(std::size_t i) const { return mRecords[i]; }
  /// The plain time of a line, without TDI.
  double plainTime(double line) const;

private:
  class Source;
  void addCorrections(Source const& source);

  std::vector<double> mPlainTimes;  // of the whole lines
  std::vector<Interval> mIntervals;
  std::vector<Correction> mCorrections;  // empty without TDI
  std::vector<std::uint32_t> mRecords;
};

}  // namespace kes::detail
