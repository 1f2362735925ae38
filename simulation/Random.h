// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace simulation {

/// A stream of random numbers that follows from a seed and is the same on every machine: integer arithmetic, and sums
/// of its results, that no library or compiler may do in another way.
class Random {
public:
  /// The stream number `stream` of a seed. Streams don't depend on one another: each begins anywhere in the one long
  /// cycle of states, far from the others.
  Random(std::uint64_t seed, std::uint64_t stream) : mState(mixed(mixed(seed) + stream * increment)) {}

  /// A number of the interval from `low` to `high`.
  double uniform(double low, double high) {
    constexpr double unit = 1.0 / 9007199254740992.0;  // 2^-53: all bits of a double's fraction
    return low + (high - low) * (static_cast<double>(next() >> 11U) * unit);
  }

  /// A number of the normal distribution of standard deviation `sigma`, by the sum of twelve uniform ones, which has a
  /// variance of twelve twelfths. It never exceeds six sigma.
  double normal(double sigma) {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) {
      sum += uniform(0.0, 1.0);
    }
    return sum * sigma;
  }

private:
  static constexpr std::uint64_t increment = 0x9E3779B97F4A7C15U;

  // SplitMix64: G. Steele, D. Lea, C. Flood, "Fast splittable pseudorandom number generators", OOPSLA 2014.
  static std::uint64_t mixed(std::uint64_t z) {
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31U);
  }
  std::uint64_t next() { return mixed(mState += increment); }

  std::uint64_t mState;
};

}  // namespace simulation
