// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"
#include "OrthoFile.h"
#include "PixelBox.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace kesgdal {

namespace {

constexpr int tileSide = 512;

// Tiles across or down a number of pixels.
int tilesOf(int pixels) {
  return (pixels + tileSide - 1) / tileSide;
}

// A tile of an image, cut at the image's edges.
PixelBox tileAt(int column, int row, int columns, int rows) {
  int const left = column * tileSide;
  int const top = row * tileSide;
  return {left, top, std::min(tileSide, columns - left), std::min(tileSide, rows - top)};
}

// The part of an image around a pixel of its overview. At odd edges the overview's pixels are a little less than two of
// the image, so that the last ones are shifted by up to one.
struct Surroundings {
  int low;
  int high;

  Surroundings(int pixel, int pixels) : low(std::max(2 * pixel - 1, 0)), high(std::min(2 * pixel + 3, pixels)) {}
};

// Values of a part of a band.
struct Part {
  PixelBox box;
  std::vector<double> values;

  bool read(GDALRasterBand& band, PixelBox const& wanted) {
    box = wanted;
    values.resize(box.size());
    return band.RasterIO(GF_Read, box.left, box.top, box.columns, box.rows, values.data(), box.columns, box.rows,
                         GDT_Float64, 0, 0, nullptr) == CE_None;
  }

  // At a pixel of the whole band.
  double at(int column, int row) const {
    return values[static_cast<std::size_t>(row - box.top) * static_cast<std::size_t>(box.columns) +
                  static_cast<std::size_t>(column - box.left)];
  }
};

class CogCheck {
public:
  CogCheck(GDALDataset& data, OrthoContent const& content)
      : mData(data), mContent(content), mFormat(content.format), mColumns(mFormat.grid.columns()),
        mRows(mFormat.grid.rows()) {}

  std::string flaw() {
    if (!hasHeader()) {
      return "its header isn't what was written";
    }
    if (!hasPixels()) {
      return "its pixels aren't what was written";
    }
    return hasOverviews() ? "" : "its overviews aren't those of its pixels";
  }

private:
  bool hasHeader() const {
    GeoTransform place{};
    OGRSpatialReference const* const reference = mData.GetSpatialRef();
    bool isSame = mData.GetRasterXSize() == mColumns && mData.GetRasterYSize() == mRows &&
                  mData.GetGeoTransform(place.data()) == CE_None && place == mFormat.grid.geoTransform() &&
                  reference != nullptr && mData.GetRasterCount() == static_cast<int>(mContent.bandNames.size());
    for (int i = 1; isSame && i <= mData.GetRasterCount(); ++i) {
      GDALRasterBand& band = *mData.GetRasterBand(i);
      int hasNoData = 0;
      double const noData = band.GetNoDataValue(&hasNoData);
      isSame = band.GetRasterDataType() == mFormat.type && hasNoData != 0 && isNoData(noData) &&
               band.GetMaskFlags() == GMF_NODATA &&
               band.GetDescription() == mContent.bandNames[static_cast<std::size_t>(i) - 1];
    }
    return isSame;
  }

  bool isNoData(double value) const {
    return value == mFormat.noData || (std::isnan(value) && std::isnan(mFormat.noData));
  }

  bool hasPixels() {
    std::vector<PixelSum> sums(mContent.sums.size(), PixelSum(mFormat.type, mFormat.noData));
    for (int row = 0; row < tilesOf(mRows); ++row) {
      for (int column = 0; column < tilesOf(mColumns); ++column) {
        if (!readTile(column, row, sums)) {
          return false;
        }
      }
    }
    return sums == mContent.sums;
  }

  // One band after the other.
  bool readTile(int column, int row, std::vector<PixelSum>& sums) {
    PixelBox const tile = tileAt(column, row, mColumns, mRows);
    std::size_t const bandBytes = tile.size() * static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mFormat.type));
    mPixels.resize(bandBytes * sums.size());
    if (mData.RasterIO(GF_Read, tile.left, tile.top, tile.columns, tile.rows, mPixels.data(), tile.columns, tile.rows,
                       mFormat.type, static_cast<int>(sums.size()), nullptr, 0, 0, 0, nullptr) != CE_None) {
      return false;
    }
    for (std::size_t band = 0; band < sums.size(); ++band) {
      sums[band].add(tile, mPixels.data() + band * bandBytes);
    }
    return true;
  }

  bool hasOverviews() {
    for (int i = 0; i < mData.GetRasterBand(1)->GetOverviewCount(); ++i) {
      GDALRasterBand& first = *mData.GetRasterBand(1)->GetOverview(i);
      for (int row = 0; row < tilesOf(first.GetYSize()); ++row) {
        for (int column = 0; column < tilesOf(first.GetXSize()); ++column) {
          if (!hasOverviewTile(i, tileAt(column, row, first.GetXSize(), first.GetYSize()))) {
            return false;
          }
        }
      }
    }
    return true;
  }

  // In all bands, which lie in the file together.
  bool hasOverviewTile(int i, PixelBox const& tile) {
    for (int number = 1; number <= mData.GetRasterCount(); ++number) {
      GDALRasterBand& band = *mData.GetRasterBand(number);
      GDALRasterBand& image = i == 0 ? band : *band.GetOverview(i - 1);
      Surroundings const firstX(tile.left, image.GetXSize());
      Surroundings const lastX(tile.left + tile.columns - 1, image.GetXSize());
      Surroundings const firstY(tile.top, image.GetYSize());
      Surroundings const lastY(tile.top + tile.rows - 1, image.GetYSize());
      if (!mOverview.read(*band.GetOverview(i), tile) ||
          !mImage.read(image, {firstX.low, firstY.low, lastX.high - firstX.low, lastY.high - firstY.low}) ||
          !areMeans(image.GetXSize(), image.GetYSize())) {
        return false;
      }
    }
    return true;
  }

  bool areMeans(int imageColumns, int imageRows) const {
    PixelBox const& tile = mOverview.box;
    for (int row = tile.top; row < tile.top + tile.rows; ++row) {
      for (int column = tile.left; column < tile.left + tile.columns; ++column) {
        if (!isMean(mOverview.at(column, row), Surroundings(column, imageColumns), Surroundings(row, imageRows))) {
          return false;
        }
      }
    }
    return true;
  }

  // Whether a value can be a mean of those around: between the least and the greatest, and no data as they are.
  bool isMean(double value, Surroundings const& x, Surroundings const& y) const {
    int const all = (x.high - x.low) * (y.high - y.low);
    double least = std::numeric_limits<double>::infinity();
    double greatest = -least;
    int count = 0;
    for (int row = y.low; row < y.high; ++row) {
      for (int column = x.low; column < x.high; ++column) {
        double const one = mImage.at(column, row);
        if (!isNoData(one)) {
          least = std::min(least, one);
          greatest = std::max(greatest, one);
          ++count;
        }
      }
    }
    if (count == 0 || !std::isfinite(least) || !std::isfinite(greatest)) {
      return count > 0 || isNoData(value);
    }
    double const tolerance = rounding(std::max(std::abs(least), std::abs(greatest)));
    return (value >= least - tolerance && value <= greatest + tolerance) || (isNoData(value) && count < all);
  }

  // Whole numbers are rounded to the next, and by one more where that would be the value for no data; others in float.
  double rounding(double value) const {
    return GDALDataTypeIsInteger(mFormat.type) != 0 ? 1.0 : value * 4.0 * std::numeric_limits<float>::epsilon();
  }

  GDALDataset& mData;
  OrthoContent const& mContent;
  OrthoFormat const& mFormat;
  int mColumns;
  int mRows;
  std::vector<std::byte> mPixels;
  Part mOverview;
  Part mImage;  // of which it is the overview
};

}  // namespace

std::string flawOf(std::string const& cogName, OrthoContent const& content) {
  GDALDatasetUniquePtr const data(
      GDALDataset::Open(cogName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
  return data ? CogCheck(*data, content).flaw() : "it can't be read again";
}

}  // namespace kesgdal
