// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/Random.h>

#include <vector>

namespace simulation {

/// A sum of sine waves: a motion that is known at every time, smooth, and of a chosen spectrum.
class Oscillation {
public:
  /// How a motion is spread over frequencies: `waves` waves at frequencies in equal ratios from `lowest` to `highest`
  /// (hertz), each a little off and with its own phase. Amplitudes fall as frequency to the power of -`decay`;
  /// together they have the root mean square `rms`.
  struct Spectrum {
    double rms;
    double lowest;
    double highest;
    double decay;
    int waves;
  };

  Oscillation() = default;
  Oscillation(Spectrum const& spectrum, Random& random);

  /// The deviation at a time in seconds, in the unit of `rms`.
  double at(double time) const;

private:
  struct Wave {
    double amplitude;
    double angularFrequency;
    double phase;
  };
  std::vector<Wave> mWaves;
};

}  // namespace simulation
