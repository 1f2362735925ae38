// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>
#include <dsm/RasterElevationSource.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kes::detail {

/// The heights of a raster's meshes and of squares of them, with the tile that was met last. Mesh i lies between the
/// centres of the cells i - 1 and i. For one thread.
class RasterTiles {
public:
  /// The caller keeps the raster.
  explicit RasterTiles(dsm::RasterElevationSource const& raster)
      : mRaster(raster), mLastColumn(raster.grid().columns), mLastRow(raster.grid().rows) {}

  /// To be called when the raster may have been asked for something else.
  void forget() { mTile = nullptr; }

  struct Mesh {
    std::int64_t column;
    std::int64_t row;
  };
  /// 2^bits by 2^bits meshes.
  struct Square {
    unsigned bits;
    std::int64_t column;
    std::int64_t row;
  };
  struct Meshes {
    std::int64_t firstColumn;
    std::int64_t lastColumn;
    std::int64_t firstRow;
    std::int64_t lastRow;
  };

  /// The last ones; a raster has a mesh more than cells each way.
  double lastColumn() const { return mLastColumn; }
  double lastRow() const { return mLastRow; }
  /// Of positions in meshes, which may lie beside the raster.
  std::int64_t columnAt(double x) const { return static_cast<std::int64_t>(std::clamp(x, 0.0, mLastColumn)); }
  std::int64_t rowAt(double y) const { return static_cast<std::int64_t>(std::clamp(y, 0.0, mLastRow)); }

  /// The heights of a mesh's corners, row by row.
  std::array<float, 4> corners(Mesh const& mesh) {
    constexpr std::int64_t IN_TILE = dsm::HeightTile::MESHES - 1;
    dsm::HeightTile const& of = tile(mesh.column >> dsm::HeightTile::MESH_BITS, mesh.row >> dsm::HeightTile::MESH_BITS);
    auto const x = static_cast<std::size_t>(mesh.column & IN_TILE);
    auto const y = static_cast<std::size_t>(mesh.row & IN_TILE);
    return {of.at(x, y), of.at(x + 1, y), of.at(x, y + 1), of.at(x + 1, y + 1)};
  }

  dsm::HeightExtent const& extent(Square const& square) {
    if (square.bits > dsm::HeightTile::MESH_BITS) {
      return mRaster.extent(square.bits, static_cast<std::uint64_t>(square.column),
                            static_cast<std::uint64_t>(square.row));
    }
    unsigned const above = dsm::HeightTile::MESH_BITS - square.bits;
    std::int64_t const inTile = (std::int64_t{1} << above) - 1;
    return tile(square.column >> above, square.row >> above)
        .extent(square.bits, static_cast<std::size_t>(square.column & inTile),
                static_cast<std::size_t>(square.row & inTile));
  }

  /// Between what the heights of meshes lie, and of some beside them: by the one to four squares of a size that hold
  /// them all.
  dsm::HeightExtent extent(Meshes const& meshes) {
    auto const size =
        static_cast<std::uint64_t>(std::max(meshes.lastColumn - meshes.firstColumn, meshes.lastRow - meshes.firstRow));
    auto const bits = std::max(static_cast<unsigned>(std::bit_width(size)), dsm::HeightTile::LEAST_BITS);
    dsm::HeightExtent extent;
    for (std::int64_t row = meshes.firstRow >> bits; row <= meshes.lastRow >> bits; ++row) {
      for (std::int64_t column = meshes.firstColumn >> bits; column <= meshes.lastColumn >> bits; ++column) {
        extent.add(this->extent(Square{bits, column, row}));
      }
    }
    return extent;
  }

  /// Whether the tile met last has cells without a height.
  bool hasGaps() const { return mTile->hasGaps(); }

private:
  dsm::HeightTile const& tile(std::int64_t column, std::int64_t row) {
    if (mTile == nullptr || mTileColumn != column || mTileRow != row) {
      mTile = &mRaster.tile(static_cast<std::uint64_t>(column), static_cast<std::uint64_t>(row));
      mTileColumn = column;
      mTileRow = row;
    }
    return *mTile;
  }

  dsm::RasterElevationSource const& mRaster;
  double const mLastColumn;
  double const mLastRow;
  dsm::HeightTile const* mTile = nullptr;
  std::int64_t mTileColumn = 0;
  std::int64_t mTileRow = 0;
};

}  // namespace kes::detail
