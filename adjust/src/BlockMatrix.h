// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Unknowns.h"

#include <Eigen/Core>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace kesadjust {

using BlockView = Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>;
using ConstBlockView = Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> const>;

/// A symmetric matrix of the blocks of parameters that is sparse by blocks. The lower triangle of blocks is kept;
/// blocks on the diagonal are full.
class BlockMatrix {
public:
  explicit BlockMatrix(Unknowns const& unknowns) : mUnknowns(&unknowns) {}

  struct Key {
    int row;
    int column;
    std::size_t offset;
  };

  Unknowns const& unknowns() const { return *mUnknowns; }
  /// Where the values of a block begin in `data`, row by row; zeros when it didn't exist. `row` >= `column`.
  std::size_t slot(int row, int column);
  /// All values; a new slot may move them.
  double* data() { return mValues.data(); }
  /// Nothing when the block is zero.
  double const* find(int row, int column) const;
  /// All blocks, in the order in which they came to be.
  std::vector<Key> const& keys() const { return mKeys; }
  BlockView view(Key const& key);
  ConstBlockView view(Key const& key) const;

  void add(BlockMatrix const& other);
  /// Makes a parameter independent of all others, with variance 1.
  void isolate(std::vector<int> const& parameters);

private:
  static std::uint64_t hashKey(int row, int column) {
    return (static_cast<std::uint64_t>(row) << 32) | static_cast<std::uint32_t>(column);
  }

  Unknowns const* mUnknowns;
  std::unordered_map<std::uint64_t, std::size_t> mIndex;
  std::vector<Key> mKeys;
  std::vector<double> mValues;
};

}  // namespace kesadjust
