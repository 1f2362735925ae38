// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Oscillation.h>

#include <cmath>

namespace simulation {

namespace {
constexpr double twoPi = 6.283185307179586;
}

Oscillation::Oscillation(Spectrum const& spectrum, Random& random) {
  double const ratio = std::pow(spectrum.highest / spectrum.lowest, 1.0 / (spectrum.waves - 1));
  double frequency = spectrum.lowest;
  double meanSquare = 0.0;
  for (int i = 0; i < spectrum.waves; ++i, frequency *= ratio) {
    double const actual = frequency * random.uniform(0.9, 1.1);
    double const amplitude = std::pow(actual, -spectrum.decay);
    mWaves.push_back({amplitude, twoPi * actual, random.uniform(0.0, twoPi)});
    meanSquare += 0.5 * amplitude * amplitude;
  }
  double const scale = spectrum.rms / std::sqrt(meanSquare);
  for (Wave& wave : mWaves) {
    wave.amplitude *= scale;
  }
}

double Oscillation::at(double time) const {
  double sum = 0.0;
  for (Wave const& wave : mWaves) {
    sum += wave.amplitude * std::sin(wave.angularFrequency * time + wave.phase);
  }
  return sum;
}

}  // namespace simulation
