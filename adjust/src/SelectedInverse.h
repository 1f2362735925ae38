// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "SparseFactor.h"

#include <kesadjust/Adjustment.h>

#include <Eigen/Core>
#include <memory>
#include <optional>
#include <vector>

namespace kesadjust {

/// The entries of the inverse Z = N^-1 on the pattern of the factor (Takahashi, Fagan, Chin 1973) by supernodes: with
/// pivots J, rows R and X = L_RJ L_JJ^-1, Z_RJ = -Z_RR X and Z_JJ = (L_JJ L_JJ^T)^-1 - X^T Z_RJ. Z_RR belongs to the
/// parent's pivots and rows, so that one pass from the last supernode to the first has all it needs.
///
/// All pairs of blocks that one eliminated point sees are coupled in N, and the pattern of the factor contains that of
/// N: the covariance of every point can be computed from these entries.
///
/// A considered constant isn't estimated: it keeps a given variance, and all others take over a part of it (consider
/// covariance, Schmidt 1966). With the matrix S of all constants after the elimination of the nodes, split into
/// estimated ones x and considered ones c of variances P, K = -S_xx^-1 S_xc:
/// Z_xx = S_xx^-1 + K P K^T, Z_xc = K P, Z_cc = P. The recursion takes that to all nodes.
class SelectedInverse {
public:
  /// A constant by its parameter.
  struct Considered {
    int parameter;
    double variance;
  };
  explicit SelectedInverse(SparseFactor const& factor, std::vector<Considered> const& considered = {});

  /// Writes the covariance of two blocks, as many rows as `row` has parameters; returns false for a pair outside the
  /// pattern of the factor.
  bool covariance(int row, int column, Eigen::MatrixXd& result) const;
  double variance(int parameter) const;
  /// The covariance of some of the constants.
  Eigen::MatrixXd ofConstants(std::vector<int> const& parameters) const;

private:
  struct Place {
    std::size_t supernode;
    int row;
    int column;
  };
  std::optional<Place> placeOf(int row, int column) const;

  Unknowns mUnknowns;
  EliminationOrder mOrder;
  std::vector<int> mConstants;            ///< All of them, as in the last supernode.
  std::vector<Eigen::MatrixXd> mColumns;  ///< Z of each supernode's pivots and rows by its pivots.
  std::vector<std::vector<int>> mOffsets;
};

/// The same for those who have a result.
std::shared_ptr<Covariances const> covariancesOf(SelectedInverse inverse);

}  // namespace kesadjust
