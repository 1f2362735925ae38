// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/Problem.h>
#include <kesadjust/Spline.h>
#include <kesadjust/kesadjust_export.h>

#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// A stationary first-order Gauss-Markov process (Gelb, Applied Optimal Estimation, section 3.6): mean zero, covariance
/// sigma^2 exp(-|dt| / tau) of two values that lie dt apart.
struct KESADJUST_EXPORT GaussMarkovPrior {
  double sigma;            ///< Standard deviation, in the unit of the values; positive.
  double correlationTime;  ///< tau, seconds; positive.

  /// The precision (inverse covariance) of a spline's coefficients under which its values at the nodes of a piece have
  /// the covariance of the process exactly. Lower triangle, no entry twice; `row` and `column` count coefficients.
  /// Pieces are independent: after a gap the navigation may have found another error.
  ///
  /// The process is Markov, so that the precision P of its values at nodes is tridiagonal. With rho = exp(-h / tau) for
  /// the interval h, times sigma^2 (1 - rho^2): 1 at both ends of the diagonal, 1 + rho^2 between, -rho beside it.
  ///
  /// The coefficients of a linear spline are those values. Those of a cubic one are not: the values are v = B c with
  /// rows (1, 4, 1) / 6, two fewer than coefficients. The second difference of the first and of the last three
  /// coefficients, h^2 times the second derivative at the ends, gets mean zero and the variance of the process's own
  /// second difference, s^2 = sigma^2 (6 - 8 rho + 2 rho^2), independent of v. With E for the two differences, that
  /// of c is B^T P B + E^T E / s^2, of half bandwidth 3. B over E is regular, so that v keeps the covariance P^-1.
  ///
  /// Between nodes a spline is smoother than the process; the variance there is smaller than sigma^2.
  ///
  /// Throws std::invalid_argument "A Gauss-Markov process needs a positive standard deviation and correlation time".
  [[nodiscard]] std::vector<PrecisionEntry> precision(Spline const& spline) const;
};

/// Errors of a class of navigation systems after post-processing with a reference station: orders of magnitude as the
/// literature on direct georeferencing gives them (Skaloud 1999, PhD thesis, University of Calgary; Groves, Principles
/// of GNSS, Inertial, and Multisensor Integrated Navigation Systems, 2013). The standard deviations that come with a
/// trajectory are preferable where it has them. Correlation times: satellite positions err with troposphere, ambiguity
/// and geometry over several minutes; roll and pitch are bounded by accelerations, heading by turns only.
struct NavigationClass {
  std::string name;
  GaussMarkovPrior plan;       ///< Easting and northing, metres.
  GaussMarkovPrior height;     ///< Metres.
  GaussMarkovPrior rollPitch;  ///< Radians.
  GaussMarkovPrior heading;    ///< Radians.
};

/// All classes, from the best on: "navigation", "tactical", "mems", and "standalone" for satellite positions without a
/// reference station.
[[nodiscard]] KESADJUST_EXPORT std::span<NavigationClass const> navigationClasses();
/// The class of a name. Throws std::invalid_argument "Unknown class of navigation systems: NAME (known: ...)".
[[nodiscard]] KESADJUST_EXPORT NavigationClass const& navigationClass(std::string const& name);

}  // namespace kesadjust
