// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "dsm/RasterPlace.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace dsm {

/// A square piece of a surface: 128 by 128 meshes between the centres of four cells each, and the heights of the 129 by
/// 129 cells at their corners, NaN where there is none. Neighbouring tiles share a row or column of cells, so that each
/// position needs one tile alone.
class HeightTile {
public:
  static constexpr unsigned MESH_BITS = 7;
  static constexpr std::size_t MESHES = std::size_t{1} << MESH_BITS;
  static constexpr std::size_t CELLS = MESHES + 1;

  float& at(std::size_t column, std::size_t row) { return mHeights[row * CELLS + column]; }
  std::array<float, CELLS * CELLS>& heights() { return mHeights; }
  std::array<float, CELLS * CELLS> const& heights() const { return mHeights; }

  /// The height within a mesh, at the parts `right` and `down` (0 to 1) of the way from its upper left corner. False,
  /// with `height` untouched, where the cell around the position has none.
  bool height(std::size_t column, std::size_t row, double right, double down, float& height) const {
    float const* const upper = &mHeights[row * CELLS + column];
    float const* const lower = upper + CELLS;
    double const above = linear(upper[0], upper[1], right);
    double const below = linear(lower[0], lower[1], right);
    double const result = linear(above, below, down);
    if (std::isnan(result)) {
      return heightBesideGap({upper[0], upper[1], lower[0], lower[1]}, right, down, height);
    }
    height = static_cast<float>(result);
    return true;
  }

private:
  static double linear(double first, double second, double part) { return first + part * (second - first); }
  static bool heightBesideGap(std::array<float, 4> const& corners, double right, double down, float& height);

  std::array<float, CELLS * CELLS> mHeights;
};

}  // namespace dsm
