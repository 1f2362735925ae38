// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PixelEncoder.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kesgdal {

namespace {

double nextFloat(double value) {
  return static_cast<double>(std::nextafter(static_cast<float>(value), std::numeric_limits<float>::infinity()));
}

double nextDouble(double value) {
  return std::nextafter(value, std::numeric_limits<double>::infinity());
}

}  // namespace

PixelEncoder::PixelEncoder(GDALDataType type, double noData, std::optional<BrightnessRange> const& range)
    : mType(type), mRange(range), mNoData(GDALAdjustValueToDataType(type, noData, nullptr, nullptr)),
      mLowest(GDALAdjustValueToDataType(type, std::numeric_limits<double>::lowest(), nullptr, nullptr)),
      mHighest(GDALAdjustValueToDataType(type, std::numeric_limits<double>::max(), nullptr, nullptr)) {
  if (GDALDataTypeIsInteger(type) != 0) {
    mNext = mNoData < mHighest ? mNoData + 1.0 : mNoData - 1.0;
    mTolerance = 1.0;
  } else {
    mNext = type == GDT_Float32 ? nextFloat(mNoData) : nextDouble(mNoData);
    mTolerance = std::abs(mNext - mNoData);
  }
}

double PixelEncoder::spread(double value) const {
  if (!mRange) {
    return value;
  }
  double const most = GDALDataTypeIsInteger(mType) != 0 ? mHighest : 1.0;
  double const part = (value - mRange->lowest) / (mRange->highest - mRange->lowest);
  return most * std::clamp(part, 0.0, 1.0);
}

double PixelEncoder::inType(double value) const {
  double result = 0.0;
  std::byte pixel[sizeof(double)];
  GDALCopyWords(&value, GDT_Float64, 0, pixel, mType, 0, 1);
  GDALCopyWords(pixel, mType, 0, &result, GDT_Float64, 0, 1);
  return result;
}

// Of a value near that for no data.
double PixelEncoder::beside(double value) const {
  return inType(value) == mNoData ? mNext : value;
}

void PixelEncoder::encode(std::vector<double>& values, std::vector<std::byte>& pixels) const {
  for (double& value : values) {
    if (std::isnan(value)) {
      value = mNoData;
    } else {
      value = std::clamp(spread(value), mLowest, mHighest);
      value = std::abs(value - mNoData) <= mTolerance ? beside(value) : value;
    }
  }
  auto const pixelBytes = GDALGetDataTypeSizeBytes(mType);
  pixels.resize(values.size() * static_cast<std::size_t>(pixelBytes));
  GDALCopyWords64(values.data(), GDT_Float64, sizeof(double), pixels.data(), mType, pixelBytes,
                  static_cast<GPtrDiff_t>(values.size()));
}

}  // namespace kesgdal
