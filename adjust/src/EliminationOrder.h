// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockMatrix.h"

#include <vector>

namespace kesadjust {

/// Blocks that are eliminated together: columns of the factor with one pattern.
struct Supernode {
  std::vector<int> pivots;    ///< Blocks that it eliminates, in their order.
  std::vector<int> rows;      ///< Later blocks that they are coupled with, in the order of elimination.
  int parent = -1;            ///< The supernode that eliminates the first of `rows`; -1 without rows.
  std::vector<int> children;  ///< Ascending.
  /// For each of `rows`, its place among the parent's pivots and rows.
  std::vector<int> rowsInParent;
};

/// The order in which blocks are eliminated, and the pattern of the factor.
///
/// Nodes come first, in an order of little fill (approximate minimum degree, Amestoy, Davis and Duff 1996, on the graph
/// of whole blocks; a chain stays a chain). Constants of strips and calibration follow, as one dense supernode: so the
/// matrix that is left of them, after all nodes are eliminated, is at hand as a whole. The order depends on nothing but
/// the pattern. Supernodes stand in the order of elimination, children before parents.
class EliminationOrder {
public:
  explicit EliminationOrder(BlockMatrix const& matrix);

  std::vector<Supernode> const& supernodes() const { return mSupernodes; }
  /// The supernode that eliminates a block.
  int supernodeOf(int block) const { return mSupernodeOf[static_cast<std::size_t>(block)]; }
  /// When a block is eliminated.
  int position(int block) const { return mPositions[static_cast<std::size_t>(block)]; }

private:
  void findSupernodes(Unknowns const& unknowns, std::vector<std::vector<int>> const& patterns);

  std::vector<Supernode> mSupernodes;
  std::vector<int> mSupernodeOf;
  std::vector<int> mPositions;
};

}  // namespace kesadjust
