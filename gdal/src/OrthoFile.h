// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/OrthoGrid.h>

#include <gdal_priv.h>

#include <cstddef>
#include <string>
#include <vector>

namespace files {
class WorkFolder;
}

namespace kesgdal {

struct PixelBox;
class GdalErrors;

/// What the bands of an orthophoto have in common.
struct OrthoFormat {
  OrthoGrid grid;
  OGRSpatialReference reference;
  GDALDataType type;
  double noData;
  int boxSide;
};

/// The orthophoto on its way: a GeoTIFF in tiles without compression, which are written past GDAL's cache, and in their
/// place when they are written again. So a failure shows where it happens, and boxes without data take no room.
class OrthoFile {
public:
  /// Makes the file in a folder. `bandNames` become the bands' descriptions. Throws by `files::WorkFolder::fail` with
  /// GDAL's reason, as the others do.
  OrthoFile(files::WorkFolder const& folder, std::string const& name, OrthoFormat const& format,
            std::vector<std::string> const& bandNames);
  ~OrthoFile();
  OrthoFile(OrthoFile const&) = delete;
  OrthoFile& operator=(OrthoFile const&) = delete;

  /// Writes a box of the format's side at its place among all of these, in a band counted from 1. `pixels` has them row
  /// by row.
  void write(int band, PixelBox const& box, void const* pixels);
  /// Reads a box back; one that wasn't written is without data.
  void read(int band, PixelBox const& box, void* pixels);
  /// Adds items "NAME=VALUE" to the file's metadata.
  void setMetadata(std::vector<std::string> const& items);
  void close();

private:
  template <class Work>
  void forEachTile(PixelBox const& box, Work const& work) const;
  void writeTile(int band, PixelBox const& tile, std::byte const* pixels, std::size_t rowBytes);
  void readTile(int band, PixelBox const& tile, std::byte* pixels, std::size_t rowBytes);
  void setHeader(std::vector<std::string> const& bandNames);
  void require(bool done, GdalErrors const& errors) const;

  files::WorkFolder const& mFolder;
  OrthoFormat mFormat;
  int mTileSide;
  std::size_t mPixelBytes;
  std::vector<std::byte> mTile;
  GDALDataset* mData = nullptr;
};

}  // namespace kesgdal
