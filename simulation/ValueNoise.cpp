// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/ValueNoise.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulation {

namespace {

// The finaliser of SplitMix64: G. Steele, D. Lea, C. Flood, "Fast splittable pseudorandom number generators", OOPSLA
// 2014.
std::uint64_t mixed(std::uint64_t z) {
  z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
  z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
  return z ^ (z >> 31U);
}

// The value at a corner, 0 to 1. The factors are odd, far apart, and keep columns and rows distinct.
double corner(std::uint64_t seed, std::int64_t column, std::int64_t row) {
  constexpr double unit = 1.0 / 9007199254740992.0;  // 2^-53: all bits of a double's fraction
  std::uint64_t const key = seed + static_cast<std::uint64_t>(column) * 0x9E3779B97F4A7C15U +
                            static_cast<std::uint64_t>(row) * 0xC2B2AE3D27D4EB4FU;
  return static_cast<double>(mixed(key) >> 11U) * unit;
}

double eased(double t) {
  return t * t * t * (t * (t * 6.0 - 15.0) + 10.0);
}

double between(double a, double b, double w) {
  return a + (b - a) * w;
}

}  // namespace

ValueNoise::ValueNoise(std::uint64_t seed, int finest, int coarsest) {
  for (int exponent = finest; exponent <= std::max(finest, coarsest); ++exponent) {
    mOctaves.push_back({mixed(mixed(seed) + static_cast<std::uint64_t>(exponent)), std::ldexp(1.0, -exponent)});
  }
}

double ValueNoise::at(double x, double y) const {
  constexpr double farAway = 1e12;  // a square's number is still exact there
  if (!(std::fabs(x) < farAway && std::fabs(y) < farAway)) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  double sum = 0.0;
  for (Octave const& octave : mOctaves) {
    sum += valueOf(octave, x, y);
  }
  return sum / static_cast<double>(mOctaves.size());
}

double ValueNoise::valueOf(Octave const& octave, double x, double y) {
  double const u = x * octave.squaresPerUnit;
  double const v = y * octave.squaresPerUnit;
  double const column = std::floor(u);
  double const row = std::floor(v);
  auto const i = static_cast<std::int64_t>(column);
  auto const j = static_cast<std::int64_t>(row);
  double const s = eased(u - column);
  double const t = eased(v - row);
  return between(between(corner(octave.seed, i, j), corner(octave.seed, i + 1, j), s),
                 between(corner(octave.seed, i, j + 1), corner(octave.seed, i + 1, j + 1), s), t);
}

}  // namespace simulation
