// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/Random.h>

#include <array>
#include <string>
#include <vector>

namespace simulation {

/// A stationary first-order Gauss-Markov process of mean 0: its standard deviation, and the time (seconds) in which its
/// correlation falls to 1/e.
struct GaussMarkovProcess {
  double sigma;
  double correlationTime;

  /// Its values at `count` times, each `interval` seconds after the one before (A. Gelb, Applied Optimal Estimation,
  /// section 3.6): x[k + 1] = rho x[k] + sigma sqrt(1 - rho^2) n with rho = exp(-interval / correlationTime).
  std::vector<double> values(std::size_t count, double interval, Random random) const;
};

/// The errors of a class of navigation systems: of positions along the axes of the local system (metres), and of the
/// attitude about those of the camera (radians).
struct NavigationErrors {
  std::array<GaussMarkovProcess, 3> position;
  std::array<GaussMarkovProcess, 3> attitude;
};

/// The typical errors of a class, after post-processing: those that an adjustment expects of it, see
/// `kesadjust::navigationClass`, which throws std::invalid_argument for an unknown one. Without the library kesadjust,
/// throws std::runtime_error "this build knows no classes of navigation systems".
NavigationErrors navigationErrorsOf(std::string const& name);

}  // namespace simulation
