// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ClosureOfPixels.h"
#include "OrthoManifest.h"
#include "OrthoMosaic.h"

#include <gdal_priv.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kesgdal {

/// What a tile's file says about itself.
struct TileRecord {
  bool hasData = false;
  ClosureOfPixels closure;
};

/// The metadata of a tile's file, by which it is known to be whole: of which plan it is and its number, and the sums of
/// its pixels.
MetadataItems tileItems(OrthoTiling::Data const& data, std::size_t index, TileRecord const& record,
                        std::vector<PixelSum> const& sums);

/// A tile's file, open for reading.
class TileFile {
public:
  /// Nothing when there is no such file, or when it isn't the tile of this plan.
  static std::optional<TileFile> open(OrthoTiling::Data const& data, std::size_t index, std::string const& fileName);

  TileRecord const& record() const { return mRecord; }
  /// Calls `take` with the boxes that have data, by their places in the orthophoto, for each band from 1. Returns
  /// whether all pixels could be read and are those that were written.
  bool read(std::function<void(int band, PixelBox const& box, WarpedPixels const& pixels)> const& take);

private:
  TileFile(OrthoTiling::Data const& data, OrthoTile const& tile, GDALDatasetUniquePtr file);
  bool readBox(int band, PixelBox const& box, WarpedPixels& pixels) const;

  OrthoTiling::Data const* mData;
  OrthoTile const* mTile;
  GDALDatasetUniquePtr mFile;
  TileRecord mRecord;
  std::string mSums;
};

}  // namespace kesgdal
