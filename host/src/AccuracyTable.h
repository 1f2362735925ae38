// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Trajectory.h>

#include <algorithm>
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

/// The standard deviations of an orientation at times in seconds from an epoch: linear between the records that an
/// `OrientationTable` has, those of the end records beyond them.
class AccuracyTable {
public:
  /// Those of the records; where there are none, the default ones.
  AccuracyTable(sensor::EOPData const& data, double epoch);
  /// The same at all times.
  explicit AccuracyTable(Deviations const& constant) : mConstant(constant) {}

  /// What holds at all times; null where records have their own.
  Deviations const* constant() const { return mIntervals.empty() ? &mConstant : nullptr; }
  Deviations at(double time) const {
    if (mIntervals.empty()) {
      return mConstant;
    }
    Interval const& from = mIntervals[intervalOf(time)];
    double const part = (time - from.start) * from.rate;
    Deviations deviations;
    for (std::size_t i = 0; i < deviations.size(); ++i) {
      deviations[i] = from.first[i] + part * from.step[i];
    }
    return deviations;
  }

private:
  // From a record to the next. The first one lies before the first record; that and the last one have no steps.
  struct Interval {
    double start;
    double rate;
    Deviations first;
    Deviations step;
  };

  // Records mostly stand at a constant rate.
  std::size_t intervalOf(double time) const {
    std::size_t const last = mIntervals.size() - 1;
    double const guess = (time - mIntervals.front().start) * mRate;
    std::size_t i = guess > 0.0 ? static_cast<std::size_t>(std::min(guess, static_cast<double>(last))) : 0;
    while (i < last && time >= mIntervals[i + 1].start) {
      ++i;
    }
    while (i > 0 && time < mIntervals[i].start) {
      --i;
    }
    return i;
  }

  std::vector<Interval> mIntervals;  // empty where deviations are constant
  double mRate = 0.0;                // intervals for each second, in the mean
  Deviations mConstant{};
};

}  // namespace kes::detail
