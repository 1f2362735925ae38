// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

namespace tool {

/// The part of the variance of equally spaced values between two frequencies, as a standard deviation.
struct Octave {
  double from;  ///< Hertz.
  double to;
  double deviation;
};

/// How values meet the ends of their span.
enum class Window {
  none,
  /// Hann's window, for values that don't end where they began; the variance is that of the values without it.
  hann,
};

/// The spectrum of values, their mean aside, in octaves from half of their `frequency` (hertz) downwards; the lowest
/// one begins at 0. The square sum of the deviations is the variance (Parseval). Of a number of values with a prime
/// factor that makes the transform slow, the last few values are left out.
std::vector<Octave> octavesOf(std::vector<double> values, double frequency, Window window);

}  // namespace tool
