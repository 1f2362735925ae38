// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>

#include <array>
#include <cmath>

namespace dsm {

/// How far beside an edge of a cell a position still counts as on it, in cells: well above what the roundings of map
/// coordinates come to, and far below what any elevation model resolves.
constexpr double EDGE_MARGIN = 1e-6;

/// A position in a raster, in cells. The outer corner of the first cell is at 0, its centre at 0.5.
struct CellPosition {
  double column;
  double row;
};

/// Where the cells of a raster lie on the map.
class RasterPlace {
public:
  /// `geoTransform` as GDAL has it, from columns and rows to x and y; `fullTurn` the size of a full turn in the unit of
  /// x, or 0 where x is no longitude. Throws std::runtime_error with the reason alone.
  RasterPlace(std::array<double, 6> const& geoTransform, int columns, int rows, double fullTurn);

  /// Finds a position of the map. False when it lies outside the raster.
  bool find(double x, double y, CellPosition& position) const {
    position = cellAt(x, y);
    if (contains(position)) {
      return true;
    }
    if (mFullTurn == 0.0) {
      return false;
    }
    position = cellAt(x < mMiddleX ? x + mFullTurn : x - mFullTurn, y);
    return contains(position);
  }

  int columns() const { return mColumns; }
  int rows() const { return mRows; }
  /// Whether the last column and the first are neighbours, all around the globe.
  bool isRing() const { return mIsRing; }
  double fullTurn() const { return mFullTurn; }
  std::array<double, 6> const& geoTransform() const { return mGeoTransform; }
  geo::XYPoint const& minimum() const { return mMinimum; }
  geo::XYPoint const& maximum() const { return mMaximum; }

private:
  // From the raster's origin, so that no digit is lost to the size of map coordinates.
  CellPosition cellAt(double x, double y) const {
    double const dx = x - mOrigin.x;
    double const dy = y - mOrigin.y;
    return {mColumnPerX * dx + mColumnPerY * dy, mRowPerX * dx + mRowPerY * dy};
  }
  // False for NaN.
  bool contains(CellPosition const& position) const {
    return position.column >= -EDGE_MARGIN && position.column <= mLastColumnEdge && position.row >= -EDGE_MARGIN &&
           position.row <= mLastRowEdge;
  }
  void setBounds();
  void closeRing();

  std::array<double, 6> mGeoTransform;
  int mColumns;
  int mRows;
  geo::XYPoint mOrigin;
  double mColumnPerX = 0.0;
  double mColumnPerY = 0.0;
  double mRowPerX = 0.0;
  double mRowPerY = 0.0;
  double mLastColumnEdge;
  double mLastRowEdge;
  double mFullTurn;
  bool mIsRing = false;
  geo::XYPoint mMinimum;
  geo::XYPoint mMaximum;
  double mMiddleX = 0.0;
};

}  // namespace dsm
