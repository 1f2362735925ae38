// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoFile.h"

#include "GdalErrors.h"
#include "PixelBox.h"
#include "files/WorkFolder.h"

#include <algorithm>
#include <cstring>

namespace kesgdal {

namespace {

constexpr int greatestTile = 512;

}  // namespace

OrthoFile::OrthoFile(files::WorkFolder const& folder, std::string const& name, OrthoFormat const& format,
                     std::vector<std::string> const& bandNames)
    : mFolder(folder), mFormat(format), mTileSide(std::min(format.boxSide, greatestTile)),
      mPixelBytes(static_cast<std::size_t>(GDALGetDataTypeSizeBytes(format.type))) {
  GdalErrors const errors;
  CPLStringList options;
  options.SetNameValue("TILED", "YES");
  options.SetNameValue("BLOCKXSIZE", std::to_string(mTileSide).c_str());
  options.SetNameValue("BLOCKYSIZE", std::to_string(mTileSide).c_str());
  options.SetNameValue("INTERLEAVE", "BAND");
  options.SetNameValue("SPARSE_OK", "TRUE");
  options.SetNameValue("BIGTIFF", "YES");
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  require(driver != nullptr, errors);
  mData = driver->Create((folder / name).c_str(), format.grid.columns(), format.grid.rows(),
                         static_cast<int>(bandNames.size()), format.type, options.List());
  require(mData != nullptr, errors);
  setHeader(bandNames);
  require(true, errors);
}

OrthoFile::~OrthoFile() {
  GdalErrors const ignored;
  GDALClose(GDALDataset::ToHandle(mData));
}

void OrthoFile::require(bool done, GdalErrors const& errors) const {
  if (!done || errors.any()) {
    mFolder.fail(errors.any() ? errors.first() : "unknown reason");
  }
}

void OrthoFile::setHeader(std::vector<std::string> const& bandNames) {
  GeoTransform transform = mFormat.grid.geoTransform();
  mData->SetSpatialRef(&mFormat.reference);
  mData->SetGeoTransform(transform.data());
  for (std::size_t i = 0; i < bandNames.size(); ++i) {
    GDALRasterBand* const band = mData->GetRasterBand(static_cast<int>(i) + 1);
    band->SetNoDataValue(mFormat.noData);
    band->SetDescription(bandNames[i].c_str());
  }
}

void OrthoFile::write(int band, PixelBox const& box, void const* pixels) {
  std::size_t const rowBytes = static_cast<std::size_t>(box.columns) * mPixelBytes;
  forEachTile(box, [&](PixelBox const& tile, std::size_t firstPixel) {
    writeTile(band, tile, static_cast<std::byte const*>(pixels) + firstPixel * mPixelBytes, rowBytes);
  });
}

void OrthoFile::read(int band, PixelBox const& box, void* pixels) {
  std::size_t const rowBytes = static_cast<std::size_t>(box.columns) * mPixelBytes;
  forEachTile(box, [&](PixelBox const& tile, std::size_t firstPixel) {
    readTile(band, tile, static_cast<std::byte*>(pixels) + firstPixel * mPixelBytes, rowBytes);
  });
}

// `work` is called with each tile of a box, and the index of the tile's first pixel in the box.
template <class Work>
void OrthoFile::forEachTile(PixelBox const& box, Work const& work) const {
  for (int top = 0; top < box.rows; top += mTileSide) {
    for (int left = 0; left < box.columns; left += mTileSide) {
      PixelBox const tile{box.left + left, box.top + top, std::min(mTileSide, box.columns - left),
                          std::min(mTileSide, box.rows - top)};
      work(tile,
           static_cast<std::size_t>(top) * static_cast<std::size_t>(box.columns) + static_cast<std::size_t>(left));
    }
  }
}

void OrthoFile::writeTile(int band, PixelBox const& tile, std::byte const* pixels, std::size_t rowBytes) {
  auto const side = static_cast<std::size_t>(mTileSide);
  mTile.assign(side * side * mPixelBytes, std::byte{0});
  for (std::size_t row = 0; row < static_cast<std::size_t>(tile.rows); ++row) {
    std::memcpy(mTile.data() + row * side * mPixelBytes, pixels + row * rowBytes,
                static_cast<std::size_t>(tile.columns) * mPixelBytes);
  }
  GdalErrors const errors;
  require(mData->GetRasterBand(band)->WriteBlock(tile.left / mTileSide, tile.top / mTileSide, mTile.data()) == CE_None,
          errors);
}

void OrthoFile::readTile(int band, PixelBox const& tile, std::byte* pixels, std::size_t rowBytes) {
  auto const side = static_cast<std::size_t>(mTileSide);
  mTile.resize(side * side * mPixelBytes);
  GdalErrors const errors;
  require(mData->GetRasterBand(band)->ReadBlock(tile.left / mTileSide, tile.top / mTileSide, mTile.data()) == CE_None,
          errors);
  for (std::size_t row = 0; row < static_cast<std::size_t>(tile.rows); ++row) {
    std::memcpy(pixels + row * rowBytes, mTile.data() + row * side * mPixelBytes,
                static_cast<std::size_t>(tile.columns) * mPixelBytes);
  }
}

void OrthoFile::setMetadata(std::vector<std::string> const& items) {
  GdalErrors const errors;
  CPLStringList list;
  for (std::string const& item : items) {
    list.AddString(item.c_str());
  }
  require(mData->SetMetadata(list.List()) == CE_None, errors);
}

void OrthoFile::close() {
  GdalErrors const errors;
  GDALClose(GDALDataset::ToHandle(mData));
  mData = nullptr;
  require(true, errors);
}

}  // namespace kesgdal
