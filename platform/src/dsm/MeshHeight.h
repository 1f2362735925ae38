// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace dsm {

/// A place within a mesh of a tile: the parts `right` and `down` (0 to 1) of the way from its upper left corner.
struct MeshPlace {
  std::size_t column;
  std::size_t row;
  double right;
  double down;
};

/// The height where some of the corners, which are in reading order, have none: these leave their weights to the
/// others. False, with `height` untouched, where the cell around the position has none.
bool heightBesideGap(std::array<float, 4> const& corners, double right, double down, float& height);

/// The bilinear height within a mesh; likewise.
inline bool heightInMesh(HeightTile const& tile, MeshPlace const& place, float& height) {
  auto const linear = [](double first, double second, double part) { return first + part * (second - first); };
  std::array<float, 4> const corners = {tile.at(place.column, place.row), tile.at(place.column + 1, place.row),
                                        tile.at(place.column, place.row + 1), tile.at(place.column + 1, place.row + 1)};
  double const above = linear(static_cast<double>(corners[0]), static_cast<double>(corners[1]), place.right);
  double const below = linear(static_cast<double>(corners[2]), static_cast<double>(corners[3]), place.right);
  double const result = linear(above, below, place.down);
  if (std::isnan(result)) {
    return heightBesideGap(corners, place.right, place.down, height);
  }
  height = static_cast<float>(result);
  return true;
}

}  // namespace dsm
