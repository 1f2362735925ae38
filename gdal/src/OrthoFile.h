// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "PixelSum.h"

#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>

#include <gdal_priv.h>

#include <cstddef>
#include <string>
#include <vector>

namespace files {
class WorkFolder;
}

namespace kesgdal {

struct Block;
class GdalErrors;

/// What the bands of an orthophoto have in common.
struct OrthoFormat {
  OrthoGrid grid;
  OGRSpatialReference reference;
  GDALDataType type;
  double noData;
  int blockSide;
};

/// The orthophoto on its way: a GeoTIFF in tiles without compression, which are written past GDAL's cache, and in their place when
/// they are written again. So a failure shows where it happens, and blocks without data take no room.
class OrthoFile {
public:
  /// Makes the file in a folder. `bandNames` become the bands' descriptions. Throws by `files::WorkFolder::fail` with GDAL's reason,
  /// as the others do.
  OrthoFile(files::WorkFolder const& folder, std::string const& name, OrthoFormat const& format,
            std::vector<std::string> const& bandNames);
  ~OrthoFile();
  OrthoFile(OrthoFile const&) = delete;
  OrthoFile& operator=(OrthoFile const&) = delete;

  /// Writes a block of the format's side at its place among all of these, in a band counted from 1. `pixels` has them row by row.
  void write(int band, Block const& block, void const* pixels);
  /// Reads a block back; one that wasn't written is without data.
  void read(int band, Block const& block, void* pixels);
  void close();

private:
  template <class Work>
  void forEachTile(Block const& block, Work const& work) const;
  void writeTile(int band, Block const& tile, std::byte const* pixels, std::size_t rowBytes);
  void readTile(int band, Block const& tile, std::byte* pixels, std::size_t rowBytes);
  void setHeader(std::vector<std::string> const& bandNames);
  void require(bool done, GdalErrors const& errors) const;

  files::WorkFolder const& mFolder;
  OrthoFormat mFormat;
  int mTileSide;
  std::size_t mPixelBytes;
  std::vector<std::byte> mTile;
  GDALDataset* mData = nullptr;
};

/// What was written to an `OrthoFile`.
struct OrthoContent {
  OrthoFormat const& format;
  std::vector<std::string> const& bandNames;
  std::vector<PixelSum> const& sums;
};

/// Copies a finished `OrthoFile` of a folder to a Cloud Optimized GeoTIFF in it: compressed without loss, with overviews. Throws
/// by `files::WorkFolder::fail` with GDAL's reason, also when the file, closed and opened again, doesn't hold `content`.
void writeCog(files::WorkFolder const& folder, std::string const& name, OrthoContent const& content,
              std::string const& cogName, int threads, Progress const& progress);

}  // namespace kesgdal
