// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kesgdal/Footprint.h>
#include <kesgdal/GeoTransform.h>
#include <kesgdal/kesgdal_export.h>

namespace kesgdal {

/// The pixels of an orthophoto: square, north up, with edges at whole multiples of their size, so that those of
/// different bands and strips fit one another.
class KESGDAL_EXPORT OrthoGrid {
public:
  /// The most pixels in a band: a terapixel.
  static constexpr double MOST_PIXELS = 1e12;

  /// The smallest grid around a box. `gsd` in metres: its size in the unit of the map is that by `kes::Unit::metres`,
  /// so that pixels of a geographic system are squares in angles, `gsd` from north to south, and narrower on the ground
  /// from east to west by the cosine of the latitude. Throws std::runtime_error "ground sampling distance of <gsd> m
  /// isn't above 0", and "ground sampling distance of <gsd> m gives an image of <columns> x <rows> pixels" for more
  /// than GDAL or anybody can hold.
  OrthoGrid(Extent const& extent, double gsd, kes::CoordinateSystem const& map);

  int columns() const { return mColumns; }
  int rows() const { return mRows; }
  /// Size of a pixel in the unit of the map.
  double pixelSize() const { return mPixelSize; }
  GeoTransform geoTransform() const;

private:
  double mPixelSize;
  double mLeft = 0.0;  // pixels from the map's origin
  double mTop = 0.0;
  int mColumns = 0;
  int mRows = 0;
};

}  // namespace kesgdal
