// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "SourceImage.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace kesgdal {

/// A part of an image in its pixels, which may reach beyond the image.
struct ImageBox {
  int left;
  int top;
  int columns;
  int rows;
};

/// Pixels of an image as numbers, row by row; NaN where the image has no data or ends.
struct ImageWindow {
  ImageBox box{};
  std::vector<double> pixels;

  double const* at(int column, int row) const {
    return pixels.data() + static_cast<std::ptrdiff_t>(row - box.top) * box.columns + (column - box.left);
  }
};

/// The image of a band, of which several threads read parts. It is read by its own blocks (tiles or lines), past GDAL's
/// cache. Those used last are kept for all threads, as many as have room but one at the least, so that each is read and decompressed about once
/// when parts are asked for in an order in which neighbours follow one another.
class SourceTiles {
public:
  /// With so many bytes of blocks in memory.
  SourceTiles(SourceImage image, std::uint64_t cache);

  int columns() const { return mImage.data()->GetRasterXSize(); }
  int rows() const { return mImage.data()->GetRasterYSize(); }

  /// Throws std::runtime_error "can't warp an image: " and GDAL's reason.
  void read(ImageBox const& box, ImageWindow& window);

private:
  using Tile = std::shared_ptr<std::vector<std::byte> const>;
  struct Kept {
    std::uint64_t key;
    Tile tile;
  };

  Tile tile(int column, int row);
  Tile find(std::uint64_t key);
  void keep(std::uint64_t key, Tile const& tile);
  void copy(int column, int row, ImageWindow& window);

  SourceImage mImage;
  GDALDataType mType;
  std::size_t mPixelBytes;
  int mTileColumns;
  int mTileRows;
  bool mMayLackData;
  double mNoData;  // NaN without one
  std::size_t mMostTiles;
  std::mutex mReading;
  std::mutex mMutex;      // of what follows
  std::list<Kept> mKept;  // the one used last first
  std::unordered_map<std::uint64_t, std::list<Kept>::iterator> mPlaces;
};

}  // namespace kesgdal
