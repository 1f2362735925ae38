// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/TerrainBounds.h>

#include <algorithm>
#include <cmath>

namespace simulation {

namespace {

// The change from one cell to the next; not known where one has no height.
float change(float a, float b) {
  float const difference = std::fabs(b - a);
  return std::isnan(difference) ? TerrainBounds::unknown : difference;
}

int limited(double value, int last) {
  return static_cast<int>(std::fmin(std::fmax(value, 0.0), static_cast<double>(last)));
}

}  // namespace

void TerrainBounds::Bound::join(Bound const& other) {
  highest = std::max(highest, other.highest);
  perColumn = std::max(perColumn, other.perColumn);
  perRow = std::max(perRow, other.perRow);
}

// The centre of cell i is at i + 0.5.
TerrainBounds::Span::Span(double low, double high, int size)
    : first(limited(std::floor(low - 0.5), size - 1)), last(limited(std::ceil(high - 0.5), size - 1)),
      startsRaster(first == 0), endsRaster(last == size - 1) {}

std::size_t TerrainBounds::Span::tiles() const {
  return (count() + tileSize - 2) / tileSize + 1;
}

// The outer half of a border cell has the height of its centre: it counts to the tile of that.
int TerrainBounds::Span::tile(double position) const {
  double const place = position - 0.5;
  if ((place < first && !startsRaster) || (place > last && !endsRaster) || std::isnan(place)) {
    return -1;
  }
  return limited(std::floor(place) - first, last - first) / tileSize;
}

TerrainBounds::TerrainBounds(Terrain const& terrain, CellBox const& box)
    : mColumns(box.low.x, box.high.x, terrain.columns()), mRows(box.low.y, box.high.y, terrain.rows()),
      mTiles(mColumns.tiles() * mRows.tiles()) {
  std::vector<float> above = heightsOfRow(terrain, mRows.first);
  addRow(above, above, 0);
  for (int row = mRows.first + 1; row <= mRows.last; ++row) {
    std::vector<float> below = heightsOfRow(terrain, row);
    addRow(above, below, static_cast<std::size_t>((row - 1 - mRows.first) / tileSize));
    above.swap(below);
  }
  addRow(above, above, static_cast<std::size_t>((mRows.last - mRows.first) / tileSize));
}

// NaN where there is none.
std::vector<float> TerrainBounds::heightsOfRow(Terrain const& terrain, int row) {
  std::vector<float> heights(mColumns.count(), std::numeric_limits<float>::quiet_NaN());
  for (std::size_t i = 0; i < heights.size(); ++i) {
    terrain.source().height(terrain.position({mColumns.first + static_cast<double>(i) + 0.5, row + 0.5}), heights[i]);
    take(heights[i]);
  }
  return heights;
}

void TerrainBounds::take(float height) {
  mLowest = std::fmin(mLowest, height);
  mHighest = std::fmax(mHighest, height);
}

// The squares between the centres of two rows, and what is left and right of the outermost centres.
void TerrainBounds::addRow(std::vector<float> const& above, std::vector<float> const& below, std::size_t tileRow) {
  for (std::size_t i = 0; i < above.size(); ++i) {
    std::size_t const next = std::min(i + 1, above.size() - 1);
    Bound square;
    for (float const height : {above[i], above[next], below[i], below[next]}) {
      square.highest = std::fmax(square.highest, height);
    }
    square.perColumn = std::max(change(above[i], above[next]), change(below[i], below[next]));
    square.perRow = std::max(change(above[i], below[i]), change(above[next], below[next]));
    mTiles[tileRow * mColumns.tiles() + i / tileSize].join(square);
  }
}

TerrainBounds::Bound TerrainBounds::over(CellBox const& box) const {
  int const left = mColumns.tile(box.low.x);
  int const right = mColumns.tile(box.high.x);
  int const top = mRows.tile(box.low.y);
  int const bottom = mRows.tile(box.high.y);
  if (left < 0 || right < 0 || top < 0 || bottom < 0) {
    return {unknown, unknown, unknown};
  }
  Bound bound;
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      bound.join(mTiles[static_cast<std::size_t>(row) * mColumns.tiles() + static_cast<std::size_t>(column)]);
    }
  }
  return bound;
}

}  // namespace simulation
