// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <raster/OpenRaster.h>

#include <gdal_priv.h>

#include <cstdint>
#include <optional>

namespace kesgdal {

/// The largest block of an image that is read. A block is the smallest part that GDAL decodes.
inline constexpr std::int64_t mostBytesOfBlock = std::int64_t{256} << 20;

/// The image of a band of a strip, open for reading: a plain file, since a strip file names it (see
/// `raster::openRaster`).
class SourceImage {
public:
  /// Throws std::runtime_error "image of band <id>: " and what is wrong with it, with the file's name.
  explicit SourceImage(kes::Band const& band);

  GDALDataset* data() const { return mData.get(); }
  GDALDataType type() const { return mData->GetRasterBand(1)->GetRasterDataType(); }
  std::uint64_t blockBytes() const;
  std::optional<double> noData() const;

private:
  raster::Dataset mData;
};

}  // namespace kesgdal
