// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dsm {

/// The greatest heights of the tiles of a surface, and of squares of 2, 4, 8 and so on of them each way, up to one
/// square that holds all: five and a third bytes for each tile.
class HighestTree {
public:
  /// `maxima` of the tiles, row by row.
  HighestTree(std::vector<float> maxima, std::uint64_t columns, std::uint64_t rows);

  /// Of a square of 2^level by 2^level tiles, counted from the first; a level beyond the last is the last.
  float highest(unsigned level, std::uint64_t column, std::uint64_t row) const;

private:
  struct Level {
    std::vector<float> maxima;
    std::uint64_t columns;
    std::uint64_t rows;
    float at(std::uint64_t column, std::uint64_t row) const {
      return maxima[static_cast<std::size_t>(row * columns + column)];
    }
  };
  static Level above(Level const& level);

  std::vector<Level> mLevels;
};

}  // namespace dsm
