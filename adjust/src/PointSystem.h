// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockMatrix.h"
#include "ObservationGroups.h"
#include "SelectedInverse.h"

#include <kesadjust/Problem.h>
#include <kesadjust/RobustLoss.h>

#include <Eigen/Core>
#include <span>
#include <vector>

namespace kesadjust {

/// Which observations count, and how much.
struct Weighting {
  RobustLoss loss;                 ///< Of image points.
  std::span<char const> isActive;  ///< By observation.
};

/// The normal equations of one group of observations, and the elimination of its point. With the residuals r, the
/// Jacobians A by the point and J by all other parameters, all times the square root of the weight:
///
///     V = A^T A = C C^T,  W = J^T A,  Y = W C^-T,
///     N = J^T J - Y Y^T,  b = J^T r - Y C^-1 A^T r
///
/// is the point's share in the reduced normal equations N d = -b, and its own step is -V^-1 (A^T r + W^T d).
/// For one thread; keeps its memory from group to group.
class PointSystem {
public:
  PointSystem(Problem const& problem, ObservationGroups const& groups, Unknowns const& unknowns);

  enum class State {
    determined,
    undetermined,  ///< The group's observations leave a direction of its point open.
    notFinite      ///< A residual or a derivative isn't finite.
  };
  /// Linearises a group's active observations.
  State gather(ObservationGroup const& group, Weighting const& weighting);

  double cost() const { return mCost; }
  int rows() const { return mRows; }
  /// What moving the point alone would take from the cost, to second order: |C^-1 A^T r|^2.
  double decrease() const { return mReducedPointGradient.squaredNorm(); }
  void addTo(BlockMatrix& matrix, std::span<double> gradient);
  /// The point's step by that of all other parameters.
  Eigen::Vector3d step(std::span<double const> others) const;
  /// V^-1 + V^-1 W^T Q W V^-1, with the covariance Q of the blocks that the point sees.
  Eigen::Matrix3d covariance(SelectedInverse const& inverse) const;

private:
  using ByPoint = Eigen::Matrix<double, Eigen::Dynamic, 3, Eigen::RowMajor>;

  void scaleByWeight(LinearisedObservation& row, double weight) const;
  void findBlocks();
  void addPointTerms(LinearisedObservation const& row);
  State factorPoint();
  void addDirectTerms(LinearisedObservation const& row, double* data) const;
  std::size_t placeOf(int block) const;

  Problem const& mProblem;
  ObservationGroups const& mGroups;
  Unknowns const& mUnknowns;
  std::vector<LinearisedObservation> mObservations;
  std::size_t mCount = 0;  ///< Observations in use.
  int mRows = 0;
  double mCost = 0.0;
  bool mHasPoint = false;
  std::vector<int> mBlocks;         ///< That the group sees, ascending.
  std::vector<int> mOffsets;        ///< Their rows in W.
  std::vector<std::size_t> mSlots;  ///< Of each pair of blocks in the matrix that is added to.
  Eigen::Matrix3d mV;
  Eigen::Matrix3d mC;  ///< Lower triangle.
  Eigen::Vector3d mPointGradient;
  Eigen::Vector3d mReducedPointGradient;
  ByPoint mW;
  ByPoint mY;
  Eigen::VectorXd mGradient;
};

}  // namespace kesadjust
