// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SourceImage.h"

#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <stdexcept>
#include <string>

namespace kesgdal {

namespace {

[[noreturn]] void fail(kes::Band const& band, std::string const& what) {
  throw std::runtime_error("image of band " + band.id() + ": " + what);
}

std::string size(std::int64_t samples, std::int64_t lines) {
  return std::to_string(samples) + " x " + std::to_string(lines);
}

// A block is read as a whole, whatever part of it is needed.
void requireSmallBlocks(kes::Band const& band, std::string const& name, GDALRasterBand& raster) {
  int columns = 0;
  int rows = 0;
  raster.GetBlockSize(&columns, &rows);
  if (std::int64_t{columns} * rows * GDALGetDataTypeSizeBytes(raster.GetRasterDataType()) > mostBytesOfBlock) {
    fail(band, name + " has blocks of " + size(columns, rows) +
                   " pixels, of which each takes more than 256 MiB; write it with smaller tiles");
  }
}

}  // namespace

SourceImage::SourceImage(kes::Band const& band) {
  std::string const name = band.imagePath();
  if (name.empty()) {
    fail(band, "strip \"" + band.model().modelData()->fileName() + "\" names no file");
  }
  try {
    mData = raster::openRaster(name, util::Origin::file);
  } catch (std::runtime_error const& error) {
    fail(band, "can't open " + name + ": " + error.what());
  }
  if (mData->GetRasterCount() != 1) {
    fail(band, name + " has " + std::to_string(mData->GetRasterCount()) + " raster bands in place of one");
  }
  if (GDALDataTypeIsComplex(type()) != 0) {
    fail(band, name + " has complex values");
  }
  std::int64_t const samples = band.samples();
  std::int64_t const lines = band.lines();
  if (mData->GetRasterXSize() != samples || mData->GetRasterYSize() != lines) {
    fail(band, name + " has " + size(mData->GetRasterXSize(), mData->GetRasterYSize()) + " pixels, the strip has " +
                   size(samples, lines));
  }
  requireSmallBlocks(band, name, *mData->GetRasterBand(1));
}

std::uint64_t SourceImage::blockBytes() const {
  int columns = 0;
  int rows = 0;
  mData->GetRasterBand(1)->GetBlockSize(&columns, &rows);
  return static_cast<std::uint64_t>(columns) * static_cast<std::uint64_t>(rows) *
         static_cast<std::uint64_t>(GDALGetDataTypeSizeBytes(type()));
}

std::optional<double> SourceImage::noData() const {
  int isThere = 0;
  double const value = mData->GetRasterBand(1)->GetNoDataValue(&isThere);
  return isThere != 0 ? std::optional(value) : std::nullopt;
}

}  // namespace kesgdal
