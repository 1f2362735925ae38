// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <Eigen/Core>
#include <vector>

namespace kesadjust {

/// A direction of the constants that the observations leave to the prior.
struct WeakDirection {
  int held;                    ///< The constant with the largest part in it.
  double ratio;                ///< Posterior over prior standard deviation; infinity without a prior.
  std::vector<int> constants;  ///< Those with a large part in it, the largest first.
};

/// Directions of constants with the covariance matrix Z and prior standard deviations s (infinite without a prior) that
/// aren't determined, with the constants to hold until all others are. In turn:
///
///  - a constant with sqrt(Z_ii) / s_i above `limit`, the largest first;
///  - the eigenvector of the largest eigenvalue of Z_ij / (s_i s_j), the greatest squared ratio of posterior and prior
///    standard deviation of any direction, when its root is above `limit`;
///  - among constants without a prior, the eigenvector of the least eigenvalue of the inverse of Z, scaled to ones on
///    its diagonal, below 1e-8: all but parallel columns of the normal equations.
///
/// A constant that is held is fixed for those after it; so are those that are held already.
std::vector<WeakDirection> weakDirections(Eigen::MatrixXd covariance, std::vector<double> const& priorSigmas,
                                          std::vector<int> const& alreadyHeld, double limit);

}  // namespace kesadjust
