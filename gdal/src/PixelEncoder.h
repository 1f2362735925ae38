// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/OrthoPlan.h>

#include <gdal_priv.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace kesgdal {

/// Puts values into the pixels of an orthophoto: first spread over the type, if a range is given; rounded, limited to
/// what the type holds, with its value for NaN. A value with data that would become the one for no data becomes the
/// next one.
class PixelEncoder {
public:
  PixelEncoder(GDALDataType type, double noData, std::optional<BrightnessRange> const& range = {});

  /// Changes the values to those of the pixels.
  void encode(std::vector<double>& values, std::vector<std::byte>& pixels) const;

private:
  double spread(double value) const;
  double inType(double value) const;
  double beside(double value) const;

  GDALDataType mType;
  std::optional<BrightnessRange> mRange;
  double mNoData;
  double mNext;  // what stands in place of it
  double mLowest;
  double mHighest;
  double mTolerance;  // farther from the value for no data, none becomes it
};

}  // namespace kesgdal
