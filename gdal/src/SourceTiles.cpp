// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SourceTiles.h"

#include "GdalErrors.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

// The value for no data as pixels have it; NaN when none can.
double noDataOf(SourceImage const& image) {
  auto const given = image.noData();
  int isClamped = 0;
  int isRounded = 0;
  double const adjusted = given ? GDALAdjustValueToDataType(image.type(), *given, &isClamped, &isRounded) : none;
  return isClamped == 0 && isRounded == 0 ? adjusted : none;
}

}  // namespace

SourceTiles::SourceTiles(SourceImage image, std::uint64_t cache)
    : mImage(std::move(image)), mType(mImage.type()),
      mPixelBytes(static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mType))), mNoData(noDataOf(mImage)) {
  mImage.data()->GetRasterBand(1)->GetBlockSize(&mTileColumns, &mTileRows);
  mMayLackData = !std::isnan(mNoData) || GDALDataTypeIsInteger(mType) == 0;
  std::size_t const tileBytes =
      static_cast<std::size_t>(mTileColumns) * static_cast<std::size_t>(mTileRows) * mPixelBytes;
  mMostTiles = std::max<std::size_t>(static_cast<std::size_t>(cache) / tileBytes, 1);
}

void SourceTiles::read(ImageBox const& box, ImageWindow& window) {
  window.box = box;
  window.pixels.assign(static_cast<std::size_t>(box.columns) * static_cast<std::size_t>(box.rows), none);
  int const left = std::max(box.left, 0);
  int const top = std::max(box.top, 0);
  int const right = std::min(box.left + box.columns, columns());
  int const bottom = std::min(box.top + box.rows, rows());
  for (int row = top / mTileRows; row * mTileRows < bottom && left < right; ++row) {
    for (int column = left / mTileColumns; column * mTileColumns < right; ++column) {
      copy(column, row, window);
    }
  }
}

// What a tile has of a window.
void SourceTiles::copy(int column, int row, ImageWindow& window) {
  ImageBox const& box = window.box;
  Tile const pixels = tile(column, row);
  int const left = std::max(column * mTileColumns, box.left);
  int const right = std::min({(column + 1) * mTileColumns, columns(), box.left + box.columns});
  int const bottom = std::min({(row + 1) * mTileRows, rows(), box.top + box.rows});
  for (int y = std::max(row * mTileRows, box.top); y < bottom; ++y) {
    std::size_t const first = static_cast<std::size_t>(y - row * mTileRows) * static_cast<std::size_t>(mTileColumns) +
                              static_cast<std::size_t>(left - column * mTileColumns);
    auto* const to = window.pixels.data() + (window.at(left, y) - window.pixels.data());
    GDALCopyWords64(pixels->data() + first * mPixelBytes, mType, static_cast<int>(mPixelBytes), to, GDT_Float64,
                    sizeof(double), right - left);
    if (mMayLackData) {
      std::transform(to, to + (right - left), to, [noData = mNoData](double value) {
        return value == noData || !(std::abs(value) <= std::numeric_limits<double>::max()) ? none : value;
      });
    }
  }
}

SourceTiles::Tile SourceTiles::tile(int column, int row) {
  std::uint64_t const key = (static_cast<std::uint64_t>(row) << 32U) + static_cast<std::uint64_t>(column);
  if (Tile found = find(key)) {
    return found;
  }
  std::lock_guard const lock(mReading);
  if (Tile found = find(key)) {
    return found;
  }
  auto const made = std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(mTileColumns) *
                                                             static_cast<std::size_t>(mTileRows) * mPixelBytes);
  GdalErrors const errors;
  if (mImage.data()->GetRasterBand(1)->ReadBlock(column, row, made->data()) != CE_None || errors.any()) {
    throw std::runtime_error("can't warp an image: " + (errors.any() ? errors.first() : std::string("unknown reason")));
  }
  keep(key, made);
  return made;
}

SourceTiles::Tile SourceTiles::find(std::uint64_t key) {
  std::lock_guard const lock(mMutex);
  auto const place = mPlaces.find(key);
  if (place == mPlaces.end()) {
    return nullptr;
  }
  mKept.splice(mKept.begin(), mKept, place->second);
  return place->second->tile;
}

void SourceTiles::keep(std::uint64_t key, Tile const& tile) {
  std::lock_guard const lock(mMutex);
  if (mKept.size() >= mMostTiles) {
    mPlaces.erase(mKept.back().key);
    mKept.pop_back();
  }
  mKept.push_front({key, tile});
  mPlaces[key] = mKept.begin();
}

}  // namespace kesgdal
