// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/ExtentTree.h"

#include <algorithm>
#include <utility>

namespace dsm {

ExtentTree::ExtentTree(std::vector<HeightExtent> extents, std::uint64_t columns, std::uint64_t rows) {
  mLevels.push_back({std::move(extents), columns, rows});
  while (mLevels.back().columns > 1 || mLevels.back().rows > 1) {
    mLevels.push_back(above(mLevels.back()));
  }
}

ExtentTree::Level ExtentTree::above(Level const& level) {
  Level above{{}, (level.columns + 1) / 2, (level.rows + 1) / 2};
  for (std::uint64_t row = 0; row < above.rows; ++row) {
    std::uint64_t const lower = std::min(2 * row + 1, level.rows - 1);
    for (std::uint64_t column = 0; column < above.columns; ++column) {
      std::uint64_t const right = std::min(2 * column + 1, level.columns - 1);
      HeightExtent extent;
      for (HeightExtent const& part : {level.at(2 * column, 2 * row), level.at(right, 2 * row),
                                       level.at(2 * column, lower), level.at(right, lower)}) {
        extent.add(part);
      }
      above.extents.push_back(extent);
    }
  }
  return above;
}

HeightExtent const& ExtentTree::extent(unsigned level, std::uint64_t column, std::uint64_t row) const {
  return level < mLevels.size() ? mLevels[level].at(column, row) : mLevels.back().at(0, 0);
}

}  // namespace dsm
