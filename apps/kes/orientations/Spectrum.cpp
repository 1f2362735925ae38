// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/Spectrum.h"

#include <Eigen/Core>
#include <cmath>
#include <complex>
#include <numbers>
#include <unsupported/Eigen/FFT>

namespace tool {

namespace {

// The transform takes n p operations for a prime factor p.
constexpr std::size_t largestFactor = 1000;

bool hasLargeFactor(std::size_t n) {
  for (std::size_t factor = 2; factor <= largestFactor && n > 1; ++factor) {
    while (n % factor == 0) {
      n /= factor;
    }
  }
  return n > 1;
}

// So that noise of any frequency keeps its power, the mean square of the window is 1.
void multiplyByHannWindow(std::vector<double>& values) {
  auto const n = static_cast<double>(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    double const phase = 2.0 * std::numbers::pi * static_cast<double>(i) / n;
    values[i] *= std::sqrt(8.0 / 3.0) * 0.5 * (1.0 - std::cos(phase));
  }
}

// The power of each frequency of a periodogram (Parseval): their sum is the variance.
std::vector<double> powersOf(std::vector<double> values, Window window) {
  double const mean = Eigen::Map<Eigen::ArrayXd const>(values.data(), static_cast<Eigen::Index>(values.size())).mean();
  for (double& value : values) {
    value -= mean;
  }
  if (window == Window::hann) {
    multiplyByHannWindow(values);
  }
  std::vector<std::complex<double>> transformed;
  Eigen::FFT<double> fft;
  fft.SetFlag(Eigen::FFT<double>::HalfSpectrum);
  fft.fwd(transformed, values);
  auto const n = static_cast<double>(values.size());
  std::vector<double> powers;
  for (std::size_t i = 0; i < transformed.size(); ++i) {
    bool const isSingle = i == 0 || 2 * i == values.size();
    powers.push_back((isSingle ? 1.0 : 2.0) * std::norm(transformed[i]) / (n * n));
  }
  return powers;
}

}  // namespace

std::vector<Octave> octavesOf(std::vector<double> values, double frequency, Window window) {
  std::size_t count = values.size();
  while (hasLargeFactor(count)) {
    --count;
  }
  values.resize(count);
  auto const n = static_cast<double>(values.size());
  std::vector<Octave> octaves;
  for (double to = 0.5 * frequency; to * n / frequency > 1.0; to *= 0.5) {
    octaves.push_back({0.5 * to, to, 0.0});
  }
  if (octaves.empty()) {
    return octaves;
  }
  octaves.back().from = 0.0;
  std::vector<double> const powers = powersOf(std::move(values), window);
  for (Octave& octave : octaves) {
    double sum = 0.0;
    for (std::size_t i = 1; i < powers.size(); ++i) {
      double const here = static_cast<double>(i) * frequency / n;
      sum += here > octave.from && here <= octave.to ? powers[i] : 0.0;
    }
    octave.deviation = std::sqrt(sum);
  }
  return octaves;
}

}  // namespace tool
