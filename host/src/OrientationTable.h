// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LargeTable.h"

#include <geo/XYZPoint.h>

#include <cstddef>
#include <vector>

namespace sensor {
class EOPData;
}

namespace kes::detail {

/// A quaternion, scalar first, in double precision.
struct Quaternion {
  double q0;
  double q1;
  double q2;
  double q3;
};

/// The records whose times, in seconds from an epoch, aren't before that of an earlier record, by their numbers.
std::vector<int> ascendingRecords(sensor::EOPData const& data, double epoch);

/// The orientation records of a strip, prepared for look-ups in double precision: in each interval of time, position
/// and quaternion are linear. (The records hold quaternions in single precision; what is between them is double.)
///
/// Interval 0 lies before the first record, the last interval after the last record: there the attitude stays that of
/// the end record, and the position goes on at the rate of the end interval. Times are in seconds from an epoch, so
/// that they keep their last digits. Records whose time is before that of an earlier one are left out.
class OrientationTable {
public:
  /// At a time t, with w = (t - start) rate: position + w positionStep, attitude + w attitudeStep.
  struct alignas(64) Interval {
    double start;  ///< Of interval 0, the time of the first record, which ends it.
    double rate;
    geo::XYZPoint position;
    geo::XYZPoint positionStep;
    Quaternion attitude;
    Quaternion attitudeStep;
  };

  OrientationTable(sensor::EOPData const& data, double epoch);

  /// Whether there are the two records that a look-up needs.
  bool isEmpty() const { return mIntervals.empty(); }
  std::size_t size() const { return mIntervals.size(); }
  Interval const& operator[](std::size_t i) const { return mIntervals[i]; }
  /// The time at which an interval ends: infinity for the last.
  double end(std::size_t i) const;
  /// The interval of a time; the search begins at `hint`.
  std::size_t find(double time, std::size_t hint) const;
  /// Whether a time lies before the first or after the last record.
  bool isOutside(double time) const { return !(time >= mFirst && time <= mLast); }
  double first() const { return mFirst; }
  double last() const { return mLast; }

private:
  LargeTable<Interval> mIntervals;
  double mFirst;
  double mLast;
};

}  // namespace kes::detail
