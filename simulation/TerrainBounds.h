// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <simulation/Terrain.h>

#include <cstddef>
#include <limits>
#include <vector>

namespace simulation {

/// A rectangle of a raster, x columns and y rows as `Terrain::cell` has them.
struct CellBox {
  geo::XYPoint low;
  geo::XYPoint high;
};

/// What the terrain can't exceed, tile by tile, so that a line of sight passes high and gentle ground without a look at
/// its cells. Between the centres of four cells the surface is bilinear: its greatest heights are at the centres, and
/// it changes along a row or a column no faster than between two neighbours there.
class TerrainBounds {
public:
  /// Heights in the source's unit. `perColumn` and `perRow` are the greatest changes from a cell to the next.
  struct Bound {
    float highest = -std::numeric_limits<float>::infinity();
    float perColumn = 0.0F;
    float perRow = 0.0F;

    void join(Bound const& other);
  };

  /// Cells along a tile's sides.
  static constexpr int tileSize = 8;
  /// Stands for heights and changes that aren't known: beside cells without a height, and outside the box.
  static constexpr float unknown = 1e30F;

  /// Looks at all cells of a box, which may reach beyond the raster. Throws what the source throws.
  TerrainBounds(Terrain const& terrain, CellBox const& box);

  /// What bounds the surface over a box that is at most a few tiles wide.
  Bound over(CellBox const& box) const;
  /// The lowest and the highest height within; the lowest is above the highest when there is none.
  float lowest() const { return mLowest; }
  float highest() const { return mHighest; }
  bool isEmpty() const { return mLowest > mHighest; }

private:
  // Centres of cells from `first` to `last`, both among them; whether the surface ends there, with the raster.
  struct Span {
    Span(double low, double high, int size);
    int first;
    int last;
    bool startsRaster;
    bool endsRaster;
    std::size_t count() const { return static_cast<std::size_t>(last - first) + 1; }
    std::size_t tiles() const;
    /// The tile of a position among columns or rows; -1 when it lies outside what was looked at.
    int tile(double position) const;
  };

  std::vector<float> heightsOfRow(Terrain const& terrain, int row);
  void take(float height);
  void addRow(std::vector<float> const& above, std::vector<float> const& below, std::size_t tileRow);

  Span mColumns;
  Span mRows;
  std::vector<Bound> mTiles;
  float mLowest = std::numeric_limits<float>::infinity();
  float mHighest = -std::numeric_limits<float>::infinity();
};

}  // namespace simulation
