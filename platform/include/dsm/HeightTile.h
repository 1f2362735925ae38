// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <limits>

namespace dsm {

/// Between what heights lie; where there is none, the lowest is infinite, and the highest minus infinity.
struct HeightExtent {
  float lowest = std::numeric_limits<float>::infinity();
  float highest = -std::numeric_limits<float>::infinity();

  bool isEmpty() const { return !(lowest <= highest); }
  /// Of a height, which may be NaN, and of others.
  void add(float height) {
    lowest = height < lowest ? height : lowest;
    highest = height > highest ? height : highest;
  }
  void add(HeightExtent const& other) {
    lowest = other.lowest < lowest ? other.lowest : lowest;
    highest = other.highest > highest ? other.highest : highest;
  }
};

/// A square piece of a surface: 128 by 128 meshes between the centres of four cells each, and the heights of the 129 by
/// 129 cells at their corners, NaN where there is none. Neighbouring tiles share a row or column of cells, so that each
/// position needs one tile alone.
///
/// Meshes are grouped into squares of 4, 8, 16 and so on up to 128 each way, between whose least and greatest height
/// all of the surface there lies.
class HeightTile {
public:
  static constexpr unsigned MESH_BITS = 7;
  static constexpr std::size_t MESHES = std::size_t{1} << MESH_BITS;
  static constexpr std::size_t CELLS = MESHES + 1;
  /// The smallest square has 4 by 4 meshes.
  static constexpr unsigned LEAST_BITS = 2;

  float at(std::size_t column, std::size_t row) const { return mHeights[row * CELLS + column]; }
  float& at(std::size_t column, std::size_t row) { return mHeights[row * CELLS + column]; }
  std::array<float, CELLS * CELLS>& heights() { return mHeights; }
  std::array<float, CELLS * CELLS> const& heights() const { return mHeights; }

  /// Of the corners of a square of 2^bits by 2^bits meshes. `column` and `row` count such squares from the tile's
  /// first; `bits` are from `LEAST_BITS` to `MESH_BITS`.
  HeightExtent const& extent(unsigned bits, std::size_t column, std::size_t row) const {
    return mExtents[firstOf(bits) + (row << (MESH_BITS - bits)) + column];
  }
  /// Whether a cell has no height.
  bool hasGaps() const { return mHasGaps; }
  /// To be called when the heights stand.
  void findExtents();

private:
  // Those of the smallest squares come first. Of one size, there are 4^(MESH_BITS - bits).
  static constexpr std::size_t EXTENTS = ((std::size_t{4} << 2U * (MESH_BITS - LEAST_BITS)) - 1) / 3;
  static constexpr std::size_t firstOf(unsigned bits) {
    return EXTENTS - ((std::size_t{4} << 2U * (MESH_BITS - bits)) - 1) / 3;
  }
  HeightExtent extentOfLeast(std::size_t column, std::size_t row) const;

  std::array<float, CELLS * CELLS> mHeights;
  std::array<HeightExtent, EXTENTS> mExtents;
  bool mHasGaps = false;
};

}  // namespace dsm
