// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Trajectory.h>

#include <array>
#include <cstddef>
#include <vector>

namespace sensor {
class EOPData;
}

namespace kes::detail {

/// Standard deviations of x, y, z (metres) and omega, phi, kappa (radians).
using Deviations = std::array<double, 6>;

inline Deviations deviationsOf(TrajectoryAccuracy const& accuracy) {
  return {accuracy.position.x,     accuracy.position.y,   accuracy.position.z,
          accuracy.attitude.omega, accuracy.attitude.phi, accuracy.attitude.kappa};
}

/// The standard deviations of an orientation in the intervals of an `OrientationTable` with the same epoch: linear
/// between records, those of the end records beyond them.
class AccuracyTable {
public:
  AccuracyTable(sensor::EOPData const& data, double epoch);

  /// At a part of an interval.
  Deviations at(std::size_t interval, double part) const {
    if (mIntervals.empty()) {
      return mDefault;
    }
    Interval const& from = mIntervals[interval];
    Deviations deviations;
    for (std::size_t i = 0; i < deviations.size(); ++i) {
      deviations[i] = from.first[i] + part * from.step[i];
    }
    return deviations;
  }

private:
  struct Interval {
    Deviations first;
    Deviations step;
  };

  std::vector<Interval> mIntervals;  // empty without deviations of records
  Deviations mDefault;
};

}  // namespace kes::detail
