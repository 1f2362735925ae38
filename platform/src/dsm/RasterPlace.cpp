// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/RasterPlace.h"

#include <algorithm>
#include <stdexcept>

namespace dsm {
namespace {

/// A raster that closes around the globe but for this part of a cell counts as closed: its step is often written with
/// few digits.
constexpr double RING_MARGIN = 0.01;

}  // namespace

RasterPlace::RasterPlace(std::array<double, 6> const& geoTransform, int columns, int rows, double fullTurn)
    : mGeoTransform(geoTransform), mColumns(columns), mRows(rows), mOrigin(geoTransform[0], geoTransform[3]),
      mLastColumnEdge(columns + EDGE_MARGIN), mLastRowEdge(rows + EDGE_MARGIN), mFullTurn(fullTurn) {
  double const xPerColumn = geoTransform[1];
  double const xPerRow = geoTransform[2];
  double const yPerColumn = geoTransform[4];
  double const yPerRow = geoTransform[5];
  double const determinant = xPerColumn * yPerRow - xPerRow * yPerColumn;
  mColumnPerX = yPerRow / determinant;
  mColumnPerY = -xPerRow / determinant;
  mRowPerX = -yPerColumn / determinant;
  mRowPerY = xPerColumn / determinant;
  for (double const value : {mOrigin.x, mOrigin.y, mColumnPerX, mColumnPerY, mRowPerX, mRowPerY}) {
    if (!std::isfinite(value)) {
      throw std::runtime_error("its geotransform can't be inverted");
    }
  }
  setBounds();
  closeRing();
}

void RasterPlace::setBounds() {
  double const alongColumnsX = mGeoTransform[1] * mColumns;
  double const alongRowsX = mGeoTransform[2] * mRows;
  double const alongColumnsY = mGeoTransform[4] * mColumns;
  double const alongRowsY = mGeoTransform[5] * mRows;
  mMinimum = {mOrigin.x + std::min(alongColumnsX, 0.0) + std::min(alongRowsX, 0.0),
              mOrigin.y + std::min(alongColumnsY, 0.0) + std::min(alongRowsY, 0.0)};
  mMaximum = {mOrigin.x + std::max(alongColumnsX, 0.0) + std::max(alongRowsX, 0.0),
              mOrigin.y + std::max(alongColumnsY, 0.0) + std::max(alongRowsY, 0.0)};
  mMiddleX = 0.5 * (mMinimum.x + mMaximum.x);
}

void RasterPlace::closeRing() {
  bool const isTurned = mGeoTransform[2] != 0.0 || mGeoTransform[4] != 0.0;
  double const gap = mFullTurn / std::abs(mGeoTransform[1]) - mColumns;
  mIsRing = mFullTurn != 0.0 && !isTurned && std::abs(gap) <= RING_MARGIN;
  if (mIsRing) {
    mLastColumnEdge += std::max(gap, 0.0);
  }
}

}  // namespace dsm
