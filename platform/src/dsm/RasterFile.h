// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "dsm/RasterPlace.h"

#include <geo/coordSys.h>
#include <raster/OpenRaster.h>
#include <util/Origin.h>

#include <gdal_priv.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dsm {

class HeightTile;

/// The file of an elevation model, open. Serves one thread at a time.
class RasterFile {
public:
  /// `vertical` defines what heights count from where the file doesn't say so; it may be empty. Throws
  /// std::runtime_error with the reason alone.
  RasterFile(std::string const& name, util::Origin origin, std::string const& vertical);

  geo::coordSys const* coordSystem() const { return mCoordSystem.get(); }
  bool hasVerticalDatum() const { return mHasVerticalDatum; }
  RasterPlace const& place() const { return *mPlace; }

  /// Reads the heights of the cells from a column and row on, either of which may be -1. Throws std::runtime_error with
  /// the reason alone.
  void read(std::int64_t firstColumn, std::int64_t firstRow, HeightTile& tile);

private:
  struct Window;
  void open(std::string const& name, util::Origin origin);
  void setCoordSystem(std::string const& vertical);
  void setPlace();
  void setHeights();
  double factorOfUnit() const;
  void readWindow(Window const& window, HeightTile& tile);
  void readValues(Window const& window, GDALRasterBand& band, void* values, GDALDataType type) const;

  raster::Dataset mDataset;
  GDALRasterBand* mBand = nullptr;
  std::unique_ptr<geo::coordSys const> mCoordSystem;
  bool mHasVerticalDatum = false;
  std::optional<RasterPlace> mPlace;
  /// A height is mScale times the value of a cell plus mOffset, in the vertical unit of the system.
  double mScale = 1.0;
  double mOffset = 0.0;
  bool mIsMasked = false;
  std::vector<double> mValues;
  std::vector<GByte> mMask;
};

}  // namespace dsm
