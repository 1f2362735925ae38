// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/Problem.h>

#include <Eigen/Core>
#include <random>
#include <string>
#include <vector>

namespace test {

/// A linear problem of given rows: residuals r + J d for the state d. It gives its observations and points in an order
/// of its own, so that tests can shuffle both.
class LinearProblem : public kesadjust::Problem {
public:
  struct Observation {
    kesadjust::ObservationIdentity identity;
    kesadjust::LinearisedObservation row;  ///< At the state zero.
  };

  std::vector<kesadjust::ParameterBlock> const& blocks() const override { return mBlocks; }
  int pointCount() const override { return static_cast<int>(mPointNames.size()); }
  std::string const& pointName(int point) const override { return mPointNames[static_cast<std::size_t>(point)]; }
  std::size_t observationCount() const override { return mObservations.size(); }
  kesadjust::ObservationIdentity identity(std::size_t i) const override { return mObservations[i].identity; }
  void linearise(std::size_t i, kesadjust::LinearisedObservation& result) const override;
  std::vector<kesadjust::PrecisionEntry> const& prior() const override { return mPrior; }
  void deviations(std::span<double> result) const override;
  void apply(std::span<double const> parameters, std::span<double const> points) override;
  void undo() override;

  int parameterCount() const;
  int offset(int block) const;
  /// Each observation's Jacobian by all parameters, then all points.
  Eigen::MatrixXd denseJacobian(std::size_t i) const;
  /// The normal matrix of all parameters and points at plain least squares, and its right side, priors included.
  Eigen::MatrixXd denseNormals() const;
  Eigen::VectorXd denseGradient() const;

  std::vector<kesadjust::ParameterBlock> mBlocks;
  std::vector<std::string> mPointNames;
  std::vector<Observation> mObservations;
  std::vector<kesadjust::PrecisionEntry> mPrior;
  Eigen::VectorXd mState;  ///< Parameters, then points.

private:
  Eigen::VectorXd mOldState;
};

/// Two strips whose nodes form chains with priors, constants of each strip and calibration, points seen thrice from
/// each strip, some of them with coordinates; random Jacobians and residuals of standard deviation 1.
LinearProblem randomProblem(unsigned seed);

/// The same with observations and points in another order.
LinearProblem shuffled(LinearProblem const& problem, unsigned seed);

}  // namespace test
