// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kes/Trajectory.h>
#include <kes/keshost_export.h>

#include <array>
#include <optional>

namespace kes {

/// The covariance matrix of a ground position, square metres: its upper triangle, row by row.
struct Covariance {
  double xx;
  double xy;
  double xz;
  double yy;
  double yz;
  double zz;
};

/// What one standard deviation of each error makes of the ground position that an image position sees at a height: to
/// first order, for errors that don't depend on one another. Matrices are in row-major order, their rows x, y and z,
/// metres.
struct GroundErrors {
  double time;                        ///< GPS seconds at which the line was exposed.
  std::array<double, 18> trajectory;  ///< 3 x 6: by position x, y, z and attitude omega, phi, kappa.
  std::array<double, 9> measuring;    ///< 3 x 3: by sample, line and height.

  [[nodiscard]] KESHOST_EXPORT Covariance covariance() const;
};

/// The errors that ground positions have.
struct AccuracyOptions {
  /// The system of the positions; nothing: the strip's local system. Errors are in metres on the ground along its x and
  /// y axes at each position, and up.
  std::optional<CoordinateSystem> system;
  /// Standard deviations of the orientation at all times. Nothing: those of the orientation's records, linear between
  /// them, when the strip was opened with `StripOptions::standardDeviations` and its file has them; otherwise the
  /// default ones of the file.
  std::optional<TrajectoryAccuracy> trajectory;
  /// Standard deviation of an image position, pixels along the line and across.
  double imageSigma = 0.0;
  /// Standard deviation of the height, metres.
  double heightSigma = 0.0;
  int threads = 1;
};

/// Seconds in which the correlation of each error of the trajectory with itself falls to 1/e; infinity for one that
/// never changes.
struct CorrelationTimes {
  geo::XYZPoint position;
  AttitudeAngles attitude;
};

/// The covariance of the difference of two ground positions of one strip, of any of its bands: errors of the trajectory
/// are a first-order Gauss-Markov process each, whose correlation falls to 1/e in `correlationTime` seconds (infinity:
/// they never change); those of image positions and heights don't depend on one another. Both in axes that are the same
/// or nearly so. Throws std::invalid_argument "the correlation time must be positive".
[[nodiscard]] KESHOST_EXPORT Covariance relativeCovariance(GroundErrors const& a, GroundErrors const& b,
                                                           double correlationTime);
/// Likewise, with a correlation time for each error of the trajectory.
[[nodiscard]] KESHOST_EXPORT Covariance relativeCovariance(GroundErrors const& a, GroundErrors const& b,
                                                           CorrelationTimes const& correlationTimes);

}  // namespace kes
