// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoFile.h"
#include "PixelBox.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace kesgdal {

/// The part of an image around a pixel of its overview. At odd edges the overview's pixels are a little less than two of
/// the image, so that the last ones are shifted by up to one.
struct Surroundings {
  int low;
  int high;

  Surroundings(int pixel, int pixels) : low(std::max(2 * pixel - 1, 0)), high(std::min(2 * pixel + 3, pixels)) {}
};

/// Pixels of a part of a band, in memory that is used again and again.
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

/// The values that a pixel of an overview may have, which is a mean of some pixels; and the value for no data.
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

/// Compares tiles of overviews with the level below.
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

}  // namespace kesgdal
