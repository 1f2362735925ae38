// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

namespace simulation {

/// Value noise: a smooth random pattern of a plane, which follows from a seed and is the same on every machine. Each
/// octave has random values at the corners of squares and runs smoothly between them; sizes of squares are the powers
/// of two from a finest to a coarsest one, in the plane's unit, so that patterns of different finest sizes have the
/// coarser ones in common.
///
/// K. Perlin's interpolant 6t^5 - 15t^4 + 10t^3 ("Improving noise", SIGGRAPH 2002) makes it twice differentiable.
class ValueNoise {
public:
  /// Squares of 2 to the power of `finest` up to `coarsest`.
  ValueNoise(std::uint64_t seed, int finest, int coarsest);

  /// 0 to 1, 0.5 in the mean; NaN at a position that isn't finite.
  double at(double x, double y) const;

private:
  struct Octave {
    std::uint64_t seed;
    double squaresPerUnit;
  };
  static double valueOf(Octave const& octave, double x, double y);

  std::vector<Octave> mOctaves;
};

}  // namespace simulation
