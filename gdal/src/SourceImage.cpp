// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SourceImage.h"

#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <stdexcept>

namespace kesgdal {

namespace {

[[noreturn]] void fail(sensor::KESStripModel const& strip, int band, std::string const& what) {
  throw std::runtime_error("image of band " + strip.bandID(band) + ": " + what);
}

std::string size(std::int64_t samples, std::int64_t lines) {
  return std::to_string(samples) + " x " + std::to_string(lines);
}

}  // namespace

std::string SourceImage::fileName(sensor::KESStripModel const& strip, int band) {
  return strip.modelData()->imageDataLocation() + "/" + strip.img(band)->imageFileName();
}

SourceImage::SourceImage(sensor::KESStripModel const& strip, int band) {
  if (strip.img(band)->imageFileName().empty()) {
    fail(strip, band, "strip \"" + strip.modelData()->fileName() + "\" names no file");
  }
  std::string const name = fileName(strip, band);
  try {
    mData = raster::openRaster(name, util::Origin::file);
  } catch (std::runtime_error const& error) {
    fail(strip, band, "can't open " + name + ": " + error.what());
  }
  if (mData->GetRasterCount() != 1) {
    fail(strip, band, name + " has " + std::to_string(mData->GetRasterCount()) + " raster bands in place of one");
  }
  if (GDALDataTypeIsComplex(type()) != 0) {
    fail(strip, band, name + " has complex values");
  }
  std::int64_t const samples = strip.imageWidth(band);
  std::int64_t const lines = strip.imageHeight(band);
  if (mData->GetRasterXSize() != samples || mData->GetRasterYSize() != lines) {
    fail(strip, band,
         name + " has " + size(mData->GetRasterXSize(), mData->GetRasterYSize()) + " pixels, the strip has " +
             size(samples, lines));
  }
}

std::optional<double> SourceImage::noData() const {
  int isThere = 0;
  double const value = mData->GetRasterBand(1)->GetNoDataValue(&isThere);
  return isThere != 0 ? std::optional(value) : std::nullopt;
}

}  // namespace kesgdal
