// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <dsm/HeightTile.h>

#include <algorithm>
#include <cmath>

namespace dsm {

HeightExtent HeightTile::extentOfLeast(std::size_t column, std::size_t row) const {
  constexpr std::size_t SIZE = std::size_t{1} << LEAST_BITS;
  HeightExtent extent;
  for (std::size_t y = row * SIZE; y <= (row + 1) * SIZE; ++y) {
    for (std::size_t x = column * SIZE; x <= (column + 1) * SIZE; ++x) {
      extent.add(at(x, y));
    }
  }
  return extent;
}

void HeightTile::findExtents() {
  mHasGaps = std::any_of(mHeights.begin(), mHeights.end(), [](float height) { return std::isnan(height); });
  for (unsigned bits = LEAST_BITS; bits <= MESH_BITS; ++bits) {
    std::size_t const side = std::size_t{1} << (MESH_BITS - bits);
    for (std::size_t i = 0; i < side * side; ++i) {
      std::size_t const column = i % side;
      std::size_t const row = i / side;
      HeightExtent& square = mExtents[firstOf(bits) + i];
      if (bits == LEAST_BITS) {
        square = extentOfLeast(column, row);
        continue;
      }
      for (std::size_t part = 0; part < 4; ++part) {
        square.add(extent(bits - 1, 2 * column + part % 2, 2 * row + part / 2));
      }
    }
  }
}

}  // namespace dsm
