// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockMatrix.h"
#include "EliminationOrder.h"

#include <Eigen/Core>
#include <span>
#include <stdexcept>
#include <vector>

namespace kesadjust {

/// A parameter that the normal equations don't determine, not even by a prior.
class UndeterminedParameter : public std::runtime_error {
public:
  explicit UndeterminedParameter(int parameter)
      : std::runtime_error("The normal equations don't determine parameter " + std::to_string(parameter)),
        mParameter(parameter) {}
  int parameter() const { return mParameter; }

private:
  int mParameter;
};

/// Where the parameters of a supernode's pivots and rows begin in its columns; one value more than there are blocks.
std::vector<int> offsetsWithin(Supernode const& node, Unknowns const& unknowns);

/// The Cholesky factor L of a positive definite matrix N = L L^T, by the multifrontal method (Duff and Reid 1983): each
/// supernode gathers its columns of N and what its children leave, eliminates its pivots in a dense matrix, and leaves
/// the rest to its parent. For one thread; the bits depend on the matrix alone.
class SparseFactor {
public:
  /// Throws `UndeterminedParameter` when a pivot is lost in rounding. `matrix` must outlive this object. `damping` is
  /// added to each value of the diagonal as a part of it.
  explicit SparseFactor(BlockMatrix const& matrix, double damping = 0.0);

  /// x of N x = b.
  std::vector<double> solve(std::span<double const> b) const;

  EliminationOrder const& order() const { return mOrder; }
  Unknowns const& unknowns() const { return mMatrix->unknowns(); }
  /// The columns of L of a supernode: its pivots, the upper triangle of no meaning, above its rows.
  Eigen::MatrixXd const& columns(std::size_t supernode) const { return mColumns[supernode]; }
  /// The constants of strips and the calibration, in the order of `constantsMatrix`; empty without any.
  std::vector<int> const& constants() const { return mConstants; }
  /// What is left of N for the constants after all nodes are eliminated: the inverse of their covariance.
  Eigen::MatrixXd const& constantsMatrix() const { return mConstantsMatrix; }

private:
  using Front = Eigen::MatrixXd;
  Front assembled(std::size_t supernode, double damping) const;
  void eliminate(std::size_t supernode, Front& front);

  BlockMatrix const* mMatrix;
  EliminationOrder mOrder;
  std::vector<std::vector<BlockMatrix::Key>> mKeysOf;  ///< The blocks of N that each supernode gathers.
  std::vector<Eigen::MatrixXd> mColumns;
  std::vector<int> mConstants;
  Eigen::MatrixXd mConstantsMatrix;
  std::vector<Front> mLeft;  ///< What each supernode leaves to its parent; empty once taken.
};

}  // namespace kesadjust
