// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TileFile.h"

#include "GdalErrors.h"

#include <algorithm>
#include <utility>

namespace kesgdal {

namespace {

std::string textOf(std::vector<PixelSum> const& sums) {
  std::string text;
  for (PixelSum const& sum : sums) {
    text += (text.empty() ? "" : " ") + std::to_string(sum.value());
  }
  return text;
}

std::string itemOf(GDALDataset& file, char const* name) {
  char const* const value = file.GetMetadataItem(name);
  return value == nullptr ? "" : value;
}

}  // namespace

MetadataItems tileItems(OrthoTiling::Data const& data, std::size_t index, TileRecord const& record,
                        std::vector<PixelSum> const& sums) {
  return {"KES_TILE_PLAN=" + data.id, "KES_TILE=" + std::to_string(index),
          std::string("KES_TILE_HAS_DATA=") + (record.hasData ? "1" : "0"), "KES_TILE_SUMS=" + textOf(sums),
          "KES_TILE_CLOSURE=" + record.closure.text()};
}

TileFile::TileFile(OrthoTiling::Data const& data, OrthoTile const& tile, GDALDatasetUniquePtr file)
    : mData(&data), mTile(&tile), mFile(std::move(file)), mSums(itemOf(*mFile, "KES_TILE_SUMS")) {}

std::optional<TileFile> TileFile::open(OrthoTiling::Data const& data, std::size_t index, std::string const& fileName) {
  GdalErrors const ignored;
  char const* const drivers[] = {"GTiff", nullptr};
  GDALDatasetUniquePtr file(GDALDataset::Open(fileName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers));
  OrthoTile const& tile = data.tiles[index];
  if (!file || itemOf(*file, "KES_TILE_PLAN") != data.id || itemOf(*file, "KES_TILE") != std::to_string(index) ||
      file->GetRasterXSize() != tile.columns || file->GetRasterYSize() != tile.rows ||
      file->GetRasterCount() != static_cast<int>(data.layout.plan.bands.size()) ||
      file->GetRasterBand(1)->GetRasterDataType() != data.layout.type) {
    return std::nullopt;
  }
  TileFile result(data, tile, std::move(file));
  auto const closure = ClosureOfPixels::parsed(itemOf(*result.mFile, "KES_TILE_CLOSURE"));
  if (!closure) {
    return std::nullopt;
  }
  result.mRecord = {itemOf(*result.mFile, "KES_TILE_HAS_DATA") == "1", *closure};
  return result;
}

bool TileFile::read(std::function<void(int band, PixelBox const& box, WarpedPixels const& pixels)> const& take) {
  GdalErrors const errors;
  int const side = mData->layout.boxSide;
  std::vector<PixelSum> sums(mData->layout.plan.bands.size(), PixelSum(mData->layout.type, mData->layout.plan.noData));
  WarpedPixels pixels;
  for (int band = 1; band <= mFile->GetRasterCount(); ++band) {
    for (int top = 0; top < mTile->rows; top += side) {
      for (int left = 0; left < mTile->columns; left += side) {
        PixelBox const box{left, top, std::min(side, mTile->columns - left), std::min(side, mTile->rows - top)};
        int const coverage =
            mFile->GetRasterBand(band)->GetDataCoverageStatus(box.left, box.top, box.columns, box.rows, 0, nullptr);
        if (coverage == GDAL_DATA_COVERAGE_STATUS_EMPTY) {
          continue;
        }
        if (!readBox(band, box, pixels)) {
          return false;
        }
        PixelBox const inAll{mTile->left + box.left, mTile->top + box.top, box.columns, box.rows};
        sums[static_cast<std::size_t>(band) - 1].add(inAll, pixels.pixels.data());
        take(band, inAll, pixels);
      }
    }
  }
  return !errors.any() && textOf(sums) == mSums;
}

// What GDAL keeps of it is dropped, since nothing is read twice.
bool TileFile::readBox(int band, PixelBox const& box, WarpedPixels& pixels) const {
  auto const pixelBytes = static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mData->layout.type));
  pixels.pixels.resize(box.size() * pixelBytes);
  GDALRasterBand& raster = *mFile->GetRasterBand(band);
  bool const isRead = raster.RasterIO(GF_Read, box.left, box.top, box.columns, box.rows, pixels.pixels.data(),
                                      box.columns, box.rows, mData->layout.type, 0, 0, nullptr) == CE_None;
  return raster.FlushCache(false) == CE_None && isRead;
}

}  // namespace kesgdal
