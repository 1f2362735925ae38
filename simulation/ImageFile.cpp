// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "GdalErrors.h"

#include <simulation/ImageFile.h>

#include <gdal_priv.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace simulation {

namespace {

// FNV-1a over pixels (G. Fowler, L. C. Noll, P. Vo): compares what was written with what is read back.
constexpr std::uint64_t emptySum = 0xCBF29CE484222325U;

std::uint64_t sumOf(std::uint64_t sum, std::vector<std::uint16_t> const& pixels) {
  for (std::uint16_t const pixel : pixels) {
    sum = (sum ^ pixel) * 0x100000001B3U;
  }
  return sum;
}

constexpr char fileInWork[] = "image.tif";

char const* const options[] = {"TILED=YES",   "BLOCKXSIZE=256", "BLOCKYSIZE=256",   "COMPRESS=DEFLATE",
                               "PREDICTOR=2", "ZLEVEL=6",       "BIGTIFF=IF_SAFER", nullptr};

}  // namespace

ImageFile::ImageFile(std::string name, int width, int height)
    : mName(std::move(name)), mWork(std::in_place, mName), mPath(*mWork / fileInWork), mWidth(width), mHeight(height),
      mSum(emptySum) {
  if (!open()) {
    fail();
  }
}

ImageFile::~ImageFile() {
  close();
}

bool ImageFile::open() {
  GDALAllRegister();
  kesgdal::GdalErrors const errors;
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  if (driver == nullptr) {
    return false;
  }
  mData = driver->Create(mPath.c_str(), mWidth, mHeight, 1, GDT_UInt16, const_cast<char**>(options));
  return mData != nullptr && mData->GetRasterBand(1)->SetNoDataValue(0.0) == CE_None && !errors.any();
}

// What goes wrong while GDAL closes a file shows in the errors that it reports, nowhere else.
bool ImageFile::close() {
  kesgdal::GdalErrors const errors;
  if (mData != nullptr) {
    GDALClose(std::exchange(mData, nullptr));
  }
  return !errors.any();
}

// Each call's tiles go to disk at once: GDAL would keep a share of the machine's memory full of them.
void ImageFile::write(std::vector<std::uint16_t> const& pixels) {
  kesgdal::GdalErrors const errors;
  int const rows = static_cast<int>(pixels.size()) / mWidth;
  auto* const from = const_cast<std::uint16_t*>(pixels.data());
  GDALRasterBand* const band = mData->GetRasterBand(1);
  if (band->RasterIO(GF_Write, 0, mRows, mWidth, rows, from, mWidth, rows, GDT_UInt16, 0, 0) != CE_None ||
      band->FlushCache() != CE_None || errors.any()) {
    fail();
  }
  mRows += rows;
  mSum = sumOf(mSum, pixels);
}

void ImageFile::finish() {
  if (!close() || !readsBack()) {
    fail();
  }
  mWork->moveOut(fileInWork);
  mWork.reset();
}

bool ImageFile::readsBack() const {
  kesgdal::GdalErrors const errors;
  GDALDatasetUniquePtr const data(GDALDataset::Open(mPath.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (!data || data->GetRasterXSize() != mWidth || data->GetRasterYSize() != mHeight) {
    return false;
  }
  std::uint64_t sum = emptySum;
  std::vector<std::uint16_t> pixels;
  for (int row = 0; row < mHeight; row += tileSize) {
    int const rows = std::min(tileSize, mHeight - row);
    pixels.resize(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(rows));
    if (data->GetRasterBand(1)->RasterIO(GF_Read, 0, row, mWidth, rows, pixels.data(), mWidth, rows, GDT_UInt16, 0,
                                         0) != CE_None) {
      return false;
    }
    sum = sumOf(sum, pixels);
  }
  return sum == mSum && !errors.any();
}

void ImageFile::fail() {
  close();
  throw std::runtime_error("can't write " + mName);
}

}  // namespace simulation
