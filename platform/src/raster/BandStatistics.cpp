// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "raster/BandStatistics.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace raster {

namespace {

constexpr int classCount = 256;

// Pixels of a line that are read at once: a file may claim lines that no memory holds.
constexpr int pieceSize = 65536;

class Pixels {
public:
  Pixels(GDALRasterBand& band, int step)
      : mBand(band), mStep(step), mIsMasked((band.GetMaskFlags() & GMF_ALL_VALID) == 0) {}

  /// Calls `visit` with the value of each pixel that has one.
  template <class Visitor>
  void forEach(Visitor visit) {
    for (std::int64_t y = 0; y < mBand.GetYSize(); y += mStep) {
      for (std::int64_t left = 0; left < mBand.GetXSize(); left += pieceSize) {
        auto const beyond = left % mStep;
        auto const first = beyond == 0 ? 0 : mStep - beyond;
        if (first < pieceSize) {
          readPiece(static_cast<int>(left), static_cast<int>(y));
          visitPiece(static_cast<std::size_t>(first), visit);
        }
      }
    }
  }

private:
  template <class Visitor>
  void visitPiece(std::size_t first, Visitor& visit) const {
    for (std::size_t x = first; x < mPiece.size(); x += static_cast<std::size_t>(mStep)) {
      if (std::isfinite(mPiece[x]) && (!mIsMasked || mMask[x] != 0)) {
        visit(mPiece[x]);
      }
    }
  }

  void readPiece(int left, int y) {
    mPiece.resize(static_cast<std::size_t>(std::min<std::int64_t>(pieceSize, mBand.GetXSize() - left)));
    mMask.resize(mPiece.size());
    bool good = read(mBand, left, y, mPiece.data(), GDT_Float64);
    if (good && mIsMasked) {
      good = read(*mBand.GetMaskBand(), left, y, mMask.data(), GDT_Byte);
    }
    if (!good) {
      throw std::runtime_error("line " + std::to_string(y) + " can't be read");
    }
  }

  bool read(GDALRasterBand& band, int left, int y, void* to, GDALDataType type) const {
    auto const width = static_cast<int>(mPiece.size());
    return band.RasterIO(GF_Read, left, y, width, 1, to, width, 1, type, 0, 0, nullptr) == CE_None;
  }

  GDALRasterBand& mBand;
  int mStep;
  bool mIsMasked;
  std::vector<double> mPiece;
  std::vector<GByte> mMask;
};

// Mean and squares are carried along from pixel to pixel (Welford's recurrence): a sum of squares would lose the
// deviation of bright images with little contrast.
class Moments {
public:
  void add(double value) {
    mMinimum = std::min(mMinimum, value);
    mMaximum = std::max(mMaximum, value);
    ++mCount;
    double const difference = value - mMean;
    mMean += difference / static_cast<double>(mCount);
    mSquares += difference * (value - mMean);
  }
  bool isEmpty() const { return mCount == 0; }
  Statistics::Layer layer() const {
    Statistics::Layer layer;
    layer.minimum = mMinimum;
    layer.maximum = mMaximum;
    layer.mean = mMean;
    layer.standardDeviation = std::sqrt(mSquares / static_cast<double>(mCount));
    return layer;
  }

private:
  std::uint64_t mCount = 0;
  double mMinimum = std::numeric_limits<double>::infinity();
  double mMaximum = -std::numeric_limits<double>::infinity();
  double mMean = 0.0;
  double mSquares = 0.0;
};

// How far the classes reach beyond the extremes: half a class, so that the extremes stand in the middle of the outer
// ones. An image of one value has it in the middle of all classes, whose ends differ from it in spite of rounding.
double margin(Statistics::Layer const& layer) {
  double const least = 1e-12 * std::max(std::abs(layer.minimum), std::abs(layer.maximum));
  double const half = 0.5 * (layer.maximum - layer.minimum) / (classCount - 1);
  return std::max(half > 0.0 ? half : 0.5, least);
}

}  // namespace

std::optional<Statistics::Layer> bandStatistics(GDALRasterBand& band, int step) {
  Pixels pixels(band, step);
  Moments moments;
  pixels.forEach([&](double value) { moments.add(value); });
  if (moments.isEmpty()) {
    return std::nullopt;
  }
  Statistics::Layer layer = moments.layer();
  layer.histogramMinimum = layer.minimum - margin(layer);
  layer.histogramMaximum = layer.maximum + margin(layer);
  layer.histogram.assign(classCount, 0);
  double const width = (layer.histogramMaximum - layer.histogramMinimum) / classCount;
  pixels.forEach([&](double value) {
    double const position = (value - layer.histogramMinimum) / width;
    ++layer.histogram[static_cast<std::size_t>(std::clamp(position, 0.0, classCount - 1.0))];
  });
  return layer;
}

}  // namespace raster
