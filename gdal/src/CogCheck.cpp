#include "CogCheck.h"

#include "Block.h"
#include "OrthoFile.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kesgdal {

namespace {

constexpr int tileSide = 512;

// Tiles across or down a number of pixels.
int tilesOf(int pixels) {
  return (pixels + tileSide - 1) / tileSide;
}

// A tile of an image, cut at the image's edges.
Block tileAt(int column, int row, int columns, int rows) {
  int const left = column * tileSide;
  int const top = row * tileSide;
  return {left, top, std::min(tileSide, columns - left), std::min(tileSide, rows - top)};
}

// Which tiles of a band have data.
class DataMap {
public:
  DataMap(int columns, int rows)
      : mColumns(tilesOf(columns)), mRows(tilesOf(rows)),
        mHasData(static_cast<std::size_t>(mColumns) * static_cast<std::size_t>(mRows)) {}

  void set(int column, int row) { mHasData[index(column, row)] = true; }
  // Of a square of tiles.
  bool any(int column, int row, int side) const {
    for (int y = row; y < std::min(row + side, mRows); ++y) {
      for (int x = column; x < std::min(column + side, mColumns); ++x) {
        if (mHasData[index(x, y)]) {
          return true;
        }
      }
    }
    return false;
  }

private:
  std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(mColumns) + static_cast<std::size_t>(column);
  }

  int mColumns;
  int mRows;
  std::vector<bool> mHasData;
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
    for (int band = 1; band <= mData.GetRasterCount(); ++band) {
      mMaps.emplace_back(mColumns, mRows);
    }
    if (!hasPixels()) {
      return "its pixels aren't what was written";
    }
    for (int band = 1; band <= mData.GetRasterCount(); ++band) {
      for (int i = 0; i < mData.GetRasterBand(band)->GetOverviewCount(); ++i) {
        if (!isOverview(*mData.GetRasterBand(band)->GetOverview(i), mMaps[static_cast<std::size_t>(band) - 1], i)) {
          return "its overviews aren't what was written";
        }
      }
    }
    return {};
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
    std::vector<PixelSum> sums(mMaps.size(), PixelSum(mFormat.type, mFormat.noData));
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
    Block const tile = tileAt(column, row, mColumns, mRows);
    std::size_t const bandBytes = tile.size() * static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mFormat.type));
    mPixels.resize(bandBytes * sums.size());
    if (mData.RasterIO(GF_Read, tile.left, tile.top, tile.columns, tile.rows, mPixels.data(), tile.columns, tile.rows,
                       mFormat.type, static_cast<int>(sums.size()), nullptr, 0, 0, 0, nullptr) != CE_None) {
      return false;
    }
    for (std::size_t band = 0; band < sums.size(); ++band) {
      std::byte* const pixels = mPixels.data() + band * bandBytes;
      sums[band].add(tile, pixels);
      mValues.resize(tile.size());
      GDALCopyWords64(pixels, mFormat.type, GDALGetDataTypeSizeBytes(mFormat.type), mValues.data(), GDT_Float64,
                      sizeof(double), static_cast<GPtrDiff_t>(tile.size()));
      if (hasData()) {
        mMaps[band].set(column, row);
      }
    }
    return true;
  }

  bool hasData() const {
    return std::any_of(mValues.begin(), mValues.end(), [this](double value) { return !isNoData(value); });
  }

  // Overview i has pixels of 2^(i + 1) by 2^(i + 1), but at odd edges, which shift them by less than one.
  bool isOverview(GDALRasterBand& overview, DataMap const& map, int i) {
    int const columns = overview.GetXSize();
    int const rows = overview.GetYSize();
    int const side = 1 << (i + 1);
    for (int row = 0; row < tilesOf(rows); ++row) {
      for (int column = 0; column < tilesOf(columns); ++column) {
        Block const tile = tileAt(column, row, columns, rows);
        int const left = std::max(tile.left - 1, 0);
        int const top = std::max(tile.top - 1, 0);
        int const width = std::min(tile.left + tile.columns + 1, columns) - left;
        int const height = std::min(tile.top + tile.rows + 1, rows) - top;
        mValues.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        if (overview.RasterIO(GF_Read, left, top, width, height, mValues.data(), width, height, GDT_Float64, 0, 0,
                              nullptr) != CE_None ||
            (map.any(column * side, row * side, side) && !hasData())) {
          return false;
        }
      }
    }
    return true;
  }

  GDALDataset& mData;
  OrthoContent const& mContent;
  OrthoFormat const& mFormat;
  int mColumns;
  int mRows;
  std::vector<DataMap> mMaps;  // of the bands
  std::vector<std::byte> mPixels;
  std::vector<double> mValues;
};

}  // namespace

std::string flawOf(std::string const& cogName, OrthoContent const& content) {
  GDALDatasetUniquePtr const data(
      GDALDataset::Open(cogName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
  return data ? CogCheck(*data, content).flaw() : "it can't be read again";
}

}  // namespace kesgdal
