// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <dsm/HeightTile.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace dsm {

float HeightTile::highestOfLeast(std::size_t column, std::size_t row) const {
  constexpr std::size_t SIZE = std::size_t{1} << LEAST_BITS;
  float highest = -std::numeric_limits<float>::infinity();
  for (std::size_t y = row * SIZE; y <= (row + 1) * SIZE; ++y) {
    for (std::size_t x = column * SIZE; x <= (column + 1) * SIZE; ++x) {
      highest = at(x, y) > highest ? at(x, y) : highest;  // never, of NaN
    }
  }
  return highest;
}

void HeightTile::findMaxima() {
  mHasGaps = std::any_of(mHeights.begin(), mHeights.end(), [](float height) { return std::isnan(height); });
  for (unsigned bits = LEAST_BITS; bits <= MESH_BITS; ++bits) {
    std::size_t const side = std::size_t{1} << (MESH_BITS - bits);
    for (std::size_t i = 0; i < side * side; ++i) {
      std::size_t const column = i % side;
      std::size_t const row = i / side;
      auto const part = [&](std::size_t x, std::size_t y) { return highest(bits - 1, 2 * column + x, 2 * row + y); };
      mMaxima[firstOf(bits) + i] =
          bits == LEAST_BITS ? highestOfLeast(column, row) : std::max({part(0, 0), part(1, 0), part(0, 1), part(1, 1)});
    }
  }
}

}  // namespace dsm
