// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Determinability.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace kesadjust {

namespace {

/// Least eigenvalue of scaled normal equations of constants without a prior.
constexpr double leastEigenvalue = 1e-8;
/// Parts of an eigenvector, relative to the largest, that are named.
constexpr double namedPart = 0.3;

using Indices = std::vector<Eigen::Index>;

WeakDirection directionOf(Eigen::VectorXd const& vector, Indices const& constants, double ratio) {
  Eigen::VectorXd const parts = vector.cwiseAbs();
  double const largest = parts.maxCoeff();
  std::vector<Eigen::Index> named;
  for (Eigen::Index i = 0; i < parts.size(); ++i) {
    if (parts(i) >= namedPart * largest) {
      named.push_back(i);
    }
  }
  std::stable_sort(named.begin(), named.end(), [&](Eigen::Index a, Eigen::Index b) { return parts(a) > parts(b); });
  WeakDirection direction{0, ratio, {}};
  for (Eigen::Index const i : named) {
    direction.constants.push_back(static_cast<int>(constants[static_cast<std::size_t>(i)]));
  }
  direction.held = direction.constants.front();
  return direction;
}

std::optional<WeakDirection> weakPrior(Eigen::MatrixXd const& covariance, Indices const& constants,
                                       std::vector<double> const& sigmas, double limit) {
  if (constants.empty()) {
    return std::nullopt;
  }
  Eigen::VectorXd scale(static_cast<Eigen::Index>(constants.size()));
  for (std::size_t i = 0; i < constants.size(); ++i) {
    scale(static_cast<Eigen::Index>(i)) = 1.0 / sigmas[static_cast<std::size_t>(constants[i])];
  }
  Eigen::MatrixXd const ratios = scale.asDiagonal() * covariance(constants, constants) * scale.asDiagonal();
  Eigen::Index weakest = 0;
  double const variance = ratios.diagonal().maxCoeff(&weakest);
  if (variance > limit * limit) {
    return directionOf(Eigen::VectorXd::Unit(scale.size(), weakest), constants, std::sqrt(variance));
  }
  Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> const eigen(ratios);
  double const largest = eigen.eigenvalues()(scale.size() - 1);
  if (largest > limit * limit) {
    return directionOf(eigen.eigenvectors().col(scale.size() - 1), constants, std::sqrt(largest));
  }
  return std::nullopt;
}

std::optional<WeakDirection> weakNormals(Eigen::MatrixXd const& covariance, Indices const& constants) {
  if (constants.size() < 2) {
    return std::nullopt;
  }
  auto const size = static_cast<Eigen::Index>(constants.size());
  Eigen::MatrixXd const normals =
      Eigen::MatrixXd(covariance(constants, constants)).llt().solve(Eigen::MatrixXd::Identity(size, size));
  Eigen::VectorXd const scale = normals.diagonal().cwiseSqrt().cwiseInverse();
  Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> const eigen(scale.asDiagonal() * normals * scale.asDiagonal());
  if (eigen.eigenvalues()(0) >= leastEigenvalue) {
    return std::nullopt;
  }
  return directionOf(eigen.eigenvectors().col(0), constants, std::numeric_limits<double>::infinity());
}

}  // namespace

std::vector<WeakDirection> weakDirections(Eigen::MatrixXd covariance, std::vector<double> const& priorSigmas,
                                          std::vector<int> const& alreadyHeld, double limit) {
  Indices withPrior;
  Indices without;
  for (std::size_t i = 0; i < priorSigmas.size(); ++i) {
    (std::isfinite(priorSigmas[i]) ? withPrior : without).push_back(static_cast<Eigen::Index>(i));
  }
  // The covariance of all others, given one.
  auto const fix = [&](Eigen::Index held) {
    Eigen::VectorXd const column = covariance.col(held);
    if (column(held) > 0.0) {
      covariance -= column * column.transpose() / column(held);
    }
    std::erase(withPrior, held);
    std::erase(without, held);
  };
  for (int const held : alreadyHeld) {
    fix(held);
  }
  std::vector<WeakDirection> directions;
  for (;;) {
    auto direction = weakPrior(covariance, withPrior, priorSigmas, limit);
    if (!direction) {
      direction = weakNormals(covariance, without);
    }
    if (!direction) {
      return directions;
    }
    fix(direction->held);
    directions.push_back(std::move(*direction));
  }
}

}  // namespace kesadjust
