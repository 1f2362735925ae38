// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dsm {

/// Between what the heights of the tiles of a surface lie, and those of squares of 2, 4, 8 and so on of them each way,
/// up to one square that holds all: 11 bytes for each tile.
class ExtentTree {
public:
  /// `extents` of the tiles, row by row.
  ExtentTree(std::vector<HeightExtent> extents, std::uint64_t columns, std::uint64_t rows);

  /// Of a square of 2^level by 2^level tiles, counted from the first; a level beyond the last is the last.
  HeightExtent const& extent(unsigned level, std::uint64_t column, std::uint64_t row) const;

private:
  struct Level {
    std::vector<HeightExtent> extents;
    std::uint64_t columns;
    std::uint64_t rows;
    HeightExtent const& at(std::uint64_t column, std::uint64_t row) const {
      return extents[static_cast<std::size_t>(row * columns + column)];
    }
  };
  static Level above(Level const& level);

  std::vector<Level> mLevels;
};

}  // namespace dsm
