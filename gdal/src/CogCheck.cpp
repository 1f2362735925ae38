// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"
#include "GdalErrors.h"
#include "OrthoFile.h"
#include "PixelBox.h"

#include <kes/Parallel.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
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

// Pixels of a part of a band, in memory that is used again and again.
template <class T>
struct Part {
  explicit Part(std::vector<std::byte>& memory) : mMemory(memory) {}

  bool read(GDALRasterBand& band, PixelBox const& wanted, GDALDataType type) {
    box = wanted;
    mMemory.resize(std::max(mMemory.size(), box.size() * sizeof(T)));
    return band.RasterIO(GF_Read, box.left, box.top, box.columns, box.rows, mMemory.data(), box.columns, box.rows, type,
                         0, 0, nullptr) == CE_None;
  }

  // From a pixel of the whole band on.
  T const* at(int column, int row) const {
    auto const* const pixels = reinterpret_cast<T const*>(mMemory.data());
    return pixels + static_cast<std::ptrdiff_t>(row - box.top) * box.columns + (column - box.left);
  }

  PixelBox box{};

private:
  std::vector<std::byte>& mMemory;
};

// What is wrong with a file, the gravest first.
enum class Flaw { PIXELS, OVERVIEWS, NONE };

// A tile of a level of overviews, from 0, and so the part of the level below of which it is made; for level -1 a tile
// of the image, where it has no overviews.
struct Step {
  int level;
  PixelBox tile;
};

// The values that a pixel of an overview may have, which is a mean of some pixels; and the value for no data.
class Means {
public:
  explicit Means(OrthoFormat const& format)
      : mNoData(format.noData), mIsInteger(GDALDataTypeIsInteger(format.type) != 0) {}

  bool isNoData(double value) const { return value == mNoData || (std::isnan(value) && std::isnan(mNoData)); }
  // Between the least and the greatest.
  bool isBetween(double value, double least, double greatest) const {
    double const tolerance = rounding(std::max(std::abs(least), std::abs(greatest)));
    return value >= least - tolerance && value <= greatest + tolerance;
  }

private:
  // Whole numbers are rounded to the next, and by one more where that would be the value for no data; others in float.
  double rounding(double value) const { return mIsInteger ? 1.0 : value * 4.0 * std::numeric_limits<float>::epsilon(); }

  double mNoData;
  bool mIsInteger;
};

// Compares tiles of overviews with the level below.
template <class T>
class OverviewCheck {
public:
  OverviewCheck(OrthoFormat const& format, Part<T> const& overview, Part<T> const& image, int columns, int rows)
      : mMeans(format), mNoData(static_cast<T>(format.noData)), mOverview(overview), mImage(image), mColumns(columns),
        mRows(rows), mLeast(static_cast<std::size_t>(image.box.columns)), mGreatest(mLeast.size()) {}

  // Whether each pixel can be a mean of those around: between the least and the greatest, and no data as they are.
  bool areMeans() {
    PixelBox const& tile = mOverview.box;
    for (int row = tile.top; row < tile.top + tile.rows; ++row) {
      Surroundings const y(row, mRows);
      findRanges(y);
      for (int column = tile.left; column < tile.left + tile.columns; ++column) {
        Surroundings const x(column, mColumns);
        auto const value = static_cast<double>(*mOverview.at(column, row));
        if (!isInRange(value, x) && !isMean(value, x, y)) {
          return false;
        }
      }
    }
    return true;
  }

private:
  // The least and the greatest value with data in each column of some rows; the least above the greatest where there is
  // none.
  void findRanges(Surroundings const& y) {
    std::fill(mLeast.begin(), mLeast.end(), std::numeric_limits<T>::max());
    std::fill(mGreatest.begin(), mGreatest.end(), std::numeric_limits<T>::lowest());
    for (int row = y.low; row < y.high; ++row) {
      addRow(mImage.at(mImage.box.left, row), mNoData, mLeast.size(), mLeast.data(), mGreatest.data());
    }
  }

  // NaN, with data or without, is in no range.
  static void addRow(T const* __restrict pixels, T noData, std::size_t count, T* __restrict least,
                     T* __restrict greatest) {
    for (std::size_t i = 0; i < count; ++i) {
      T const value = pixels[i];
      T const low = value == noData ? std::numeric_limits<T>::max() : value;
      T const high = value == noData ? std::numeric_limits<T>::lowest() : value;
      least[i] = low < least[i] ? low : least[i];
      greatest[i] = high > greatest[i] ? high : greatest[i];
    }
  }

  bool isInRange(double value, Surroundings const& x) const {
    auto const begin = static_cast<std::size_t>(x.low - mImage.box.left);
    T least = mLeast[begin];
    T greatest = mGreatest[begin];
    for (std::size_t i = begin + 1; i < begin + static_cast<std::size_t>(x.high - x.low); ++i) {
      least = std::min(least, mLeast[i]);
      greatest = std::max(greatest, mGreatest[i]);
    }
    return least <= greatest && mMeans.isBetween(value, static_cast<double>(least), static_cast<double>(greatest));
  }

  // For what the ranges leave open: pixels without data, and values that aren't finite.
  bool isMean(double value, Surroundings const& x, Surroundings const& y) const {
    int const all = (x.high - x.low) * (y.high - y.low);
    double least = std::numeric_limits<double>::infinity();
    double greatest = -least;
    int count = 0;
    for (int row = y.low; row < y.high; ++row) {
      for (int column = x.low; column < x.high; ++column) {
        auto const one = static_cast<double>(*mImage.at(column, row));
        if (!mMeans.isNoData(one)) {
          least = std::min(least, one);
          greatest = std::max(greatest, one);
          ++count;
        }
      }
    }
    if (count == 0 || !std::isfinite(least) || !std::isfinite(greatest)) {
      return count > 0 || mMeans.isNoData(value);
    }
    return mMeans.isBetween(value, least, greatest) || (mMeans.isNoData(value) && count < all);
  }

  Means mMeans;
  T mNoData;
  Part<T> const& mOverview;
  Part<T> const& mImage;
  int mColumns;  // of the whole image
  int mRows;
  std::vector<T> mLeast;
  std::vector<T> mGreatest;
};

// Reads and compares, step by step, for one thread.
class CogReader {
public:
  CogReader(GDALDatasetUniquePtr data, OrthoContent const& content)
      : mData(std::move(data)), mContent(content), mFormat(content.format),
        mSums(content.sums.size(), PixelSum(mFormat.type, mFormat.noData)) {}

  bool hasHeader() const {
    GeoTransform place{};
    OGRSpatialReference const* const reference = mData->GetSpatialRef();
    bool isSame = mData->GetRasterXSize() == mFormat.grid.columns() && mData->GetRasterYSize() == mFormat.grid.rows() &&
                  mData->GetGeoTransform(place.data()) == CE_None && place == mFormat.grid.geoTransform() &&
                  reference != nullptr && mData->GetRasterCount() == static_cast<int>(mContent.bandNames.size());
    for (int i = 1; isSame && i <= mData->GetRasterCount(); ++i) {
      GDALRasterBand& band = *mData->GetRasterBand(i);
      int hasNoData = 0;
      double const noData = band.GetNoDataValue(&hasNoData);
      isSame = band.GetRasterDataType() == mFormat.type && hasNoData != 0 && Means(mFormat).isNoData(noData) &&
               band.GetMaskFlags() == GMF_NODATA &&
               band.GetDescription() == mContent.bandNames[static_cast<std::size_t>(i) - 1];
    }
    return isSame;
  }

  std::vector<Step> steps() const {
    std::vector<Step> result;
    int const levels = mData->GetRasterBand(1)->GetOverviewCount();
    for (int level = levels > 0 ? 0 : -1; level < levels; ++level) {
      GDALRasterBand& band = levelOf(1, level);
      for (int row = 0; row < tilesOf(band.GetYSize()); ++row) {
        for (int column = 0; column < tilesOf(band.GetXSize()); ++column) {
          result.push_back({level, tileAt(column, row, band.GetXSize(), band.GetYSize())});
        }
      }
    }
    return result;
  }

  // In all bands, which lie in the file together.
  Flaw flawOf(Step const& step) {
    Flaw flaw = Flaw::NONE;
    for (int number = 1; flaw == Flaw::NONE && number <= mData->GetRasterCount(); ++number) {
      switch (mFormat.type) {
      case GDT_Byte:
        flaw = flawIn<std::uint8_t>(step, number);
        break;
      case GDT_UInt16:
        flaw = flawIn<std::uint16_t>(step, number);
        break;
      case GDT_Int16:
        flaw = flawIn<std::int16_t>(step, number);
        break;
      case GDT_UInt32:
        flaw = flawIn<std::uint32_t>(step, number);
        break;
      case GDT_Int32:
        flaw = flawIn<std::int32_t>(step, number);
        break;
      case GDT_UInt64:
        flaw = flawIn<std::uint64_t>(step, number);
        break;
      case GDT_Int64:
        flaw = flawIn<std::int64_t>(step, number);
        break;
      case GDT_Float32:
        flaw = flawIn<float>(step, number);
        break;
      default:
        flaw = flawIn<double>(step, number);
        break;
      }
    }
    return flaw;
  }

  // Of the pixels read so far.
  std::vector<PixelSum> const& sums() const { return mSums; }

private:
  GDALRasterBand& levelOf(int number, int level) const {
    GDALRasterBand& band = *mData->GetRasterBand(number);
    return level < 0 ? band : *band.GetOverview(level);
  }

  template <class T>
  Flaw flawIn(Step const& step, int number) {
    Part<T> image(mImage);
    if (step.level < 0) {
      if (!image.read(levelOf(number, -1), step.tile, mFormat.type)) {
        return Flaw::PIXELS;
      }
      addToSum(image, step.tile, number);
      return Flaw::NONE;
    }
    GDALRasterBand& below = levelOf(number, step.level - 1);
    Surroundings const firstX(step.tile.left, below.GetXSize());
    Surroundings const lastX(step.tile.left + step.tile.columns - 1, below.GetXSize());
    Surroundings const firstY(step.tile.top, below.GetYSize());
    Surroundings const lastY(step.tile.top + step.tile.rows - 1, below.GetYSize());
    if (!image.read(below, {firstX.low, firstY.low, lastX.high - firstX.low, lastY.high - firstY.low}, mFormat.type)) {
      return step.level == 0 ? Flaw::PIXELS : Flaw::OVERVIEWS;
    }
    if (step.level == 0) {
      addToSum(image, madeInto(step.tile, levelOf(number, 0), below), number);
    }
    Part<T> overview(mOverview);
    bool const isRead = overview.read(levelOf(number, step.level), step.tile, mFormat.type);
    return isRead && OverviewCheck<T>(mFormat, overview, image, below.GetXSize(), below.GetYSize()).areMeans()
               ? Flaw::NONE
               : Flaw::OVERVIEWS;
  }

  // The pixels of the image that count with a tile of the first overview, each with one.
  static PixelBox madeInto(PixelBox const& tile, GDALRasterBand& overview, GDALRasterBand& image) {
    int const right = tile.left + tile.columns;
    int const bottom = tile.top + tile.rows;
    return {2 * tile.left, 2 * tile.top, (right == overview.GetXSize() ? image.GetXSize() : 2 * right) - 2 * tile.left,
            (bottom == overview.GetYSize() ? image.GetYSize() : 2 * bottom) - 2 * tile.top};
  }

  template <class T>
  void addToSum(Part<T> const& part, PixelBox const& box, int number) {
    for (int row = box.top; row < box.top + box.rows; ++row) {
      mSums[static_cast<std::size_t>(number) - 1].add({box.left, row, box.columns, 1}, part.at(box.left, row));
    }
  }

  GDALDatasetUniquePtr mData;
  OrthoContent const& mContent;
  OrthoFormat const& mFormat;
  std::vector<PixelSum> mSums;
  std::vector<std::byte> mImage;
  std::vector<std::byte> mOverview;
};

// What the readers of all threads have found.
class Findings {
public:
  explicit Findings(OrthoContent const& content)
      : mContent(content), mSums(content.sums.size(), PixelSum(content.format.type, content.format.noData)) {}

  void add(Flaw flaw, GdalErrors const& errors) {
    std::lock_guard const lock(mMutex);
    mFlaw = std::min(mFlaw, flaw);
    mError = mError.empty() && errors.any() ? errors.first() : mError;
  }
  void add(std::vector<PixelSum> const& sums) {
    std::lock_guard const lock(mMutex);
    for (std::size_t i = 0; i < sums.size(); ++i) {
      mSums[i].add(sums[i]);
    }
  }

  std::string text() const {
    if (!mError.empty()) {
      return mError;
    }
    if (mFlaw == Flaw::PIXELS || (mFlaw == Flaw::NONE && mSums != mContent.sums)) {
      return "its pixels aren't what was written";
    }
    return mFlaw == Flaw::OVERVIEWS ? "its overviews aren't those of its pixels" : "";
  }

private:
  OrthoContent const& mContent;
  std::mutex mMutex;
  Flaw mFlaw = Flaw::NONE;
  std::string mError;
  std::vector<PixelSum> mSums;
};

GDALDatasetUniquePtr opened(std::string const& cogName) {
  return GDALDatasetUniquePtr(
      GDALDataset::Open(cogName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
}

// By a reader of their own, since GDAL's aren't for several threads. Steps that follow one another have tiles in
// common, which GDAL keeps.
void checkSteps(std::string const& cogName, OrthoContent const& content, std::span<Step const> steps,
                Findings& findings) {
  GdalErrors const errors;
  GDALDatasetUniquePtr data = opened(cogName);
  Flaw flaw = data ? Flaw::NONE : Flaw::PIXELS;
  if (data) {
    CogReader reader(std::move(data), content);
    for (Step const& step : steps) {
      flaw = std::min(flaw, reader.flawOf(step));
      if (flaw != Flaw::NONE) {
        break;
      }
    }
    findings.add(reader.sums());
  }
  findings.add(flaw, errors);
}

}  // namespace

std::string flawOf(std::string const& cogName, OrthoContent const& content, int threads) {
  GDALDatasetUniquePtr data = opened(cogName);
  if (!data) {
    return "it can't be read again";
  }
  CogReader const first(std::move(data), content);
  Findings findings(content);
  if (!first.hasHeader()) {
    return "its header isn't what was written";
  }
  std::vector<Step> const steps = first.steps();
  auto const pieces = static_cast<std::size_t>(threads);
  kes::forEachIndex(pieces, threads, [&](std::size_t piece) {
    std::size_t const begin = steps.size() * piece / pieces;
    std::size_t const end = steps.size() * (piece + 1) / pieces;
    checkSteps(cogName, content, std::span(steps).subspan(begin, end - begin), findings);
  });
  return findings.text();
}

}  // namespace kesgdal
