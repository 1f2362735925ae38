// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kesgdal/Footprint.h>
#include <kesgdal/GeoTransform.h>
#include <kesgdal/kesgdal_export.h>

#include <string>

namespace kesgdal {

/// The pixels of an orthophoto: square and north up. Around a box, their edges lie at whole multiples of their size, so
/// that those of different bands and strips fit one another.
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

  /// The pixels of a raster. Throws std::runtime_error "its pixels aren't square and north up" (they may differ by a
  /// thousandth), and "it has <columns> x <rows> pixels" for more than anybody can hold.
  OrthoGrid(GeoTransform const& geoTransform, int columns, int rows);

  int columns() const { return mColumns; }
  int rows() const { return mRows; }
  /// Size of a pixel in the unit of the map.
  double pixelSize() const { return mTransform[1]; }
  GeoTransform const& geoTransform() const { return mTransform; }

private:
  GeoTransform mTransform{};
  int mColumns = 0;
  int mRows = 0;
};

/// The pixels of a raster, and the map they lie on.
struct RasterGrid {
  OrthoGrid grid;
  kes::CoordinateSystem map;
};

/// Those of any raster that GDAL reads, for an orthophoto that fits it pixel by pixel. Throws std::runtime_error "can't
/// take the grid of <name>: " and the reason.
[[nodiscard]] KESGDAL_EXPORT RasterGrid gridOfRaster(std::string const& fileName);

}  // namespace kesgdal
