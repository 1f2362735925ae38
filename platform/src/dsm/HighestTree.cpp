// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/HighestTree.h"

#include <algorithm>
#include <utility>

namespace dsm {

HighestTree::HighestTree(std::vector<float> maxima, std::uint64_t columns, std::uint64_t rows) {
  mLevels.push_back({std::move(maxima), columns, rows});
  while (mLevels.back().columns > 1 || mLevels.back().rows > 1) {
    mLevels.push_back(above(mLevels.back()));
  }
}

HighestTree::Level HighestTree::above(Level const& level) {
  Level above{{}, (level.columns + 1) / 2, (level.rows + 1) / 2};
  for (std::uint64_t row = 0; row < above.rows; ++row) {
    std::uint64_t const lower = std::min(2 * row + 1, level.rows - 1);
    for (std::uint64_t column = 0; column < above.columns; ++column) {
      std::uint64_t const right = std::min(2 * column + 1, level.columns - 1);
      above.maxima.push_back(std::max({level.at(2 * column, 2 * row), level.at(right, 2 * row),
                                       level.at(2 * column, lower), level.at(right, lower)}));
    }
  }
  return above;
}

float HighestTree::highest(unsigned level, std::uint64_t column, std::uint64_t row) const {
  return level < mLevels.size() ? mLevels[level].at(column, row) : mLevels.back().at(0, 0);
}

}  // namespace dsm
