// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <kesgdal/OrthoTransformer.h>
#include <kesgdal/kesgdal_export.h>

#include <cstdint>
#include <optional>

namespace dsm {
class RasterElevationSource;
}

namespace geo {
class coordSys;
}

namespace kesgdal {

/// A box on the map.
struct Extent {
  geo::XYPoint low;
  geo::XYPoint high;
};

/// The least box of the map around what a band sees of a surface, by the outer edges of all lines and of the first and the
/// last one. Where a line of sight meets no surface, it counts with all heights that the surface has anywhere. Nothing when
/// all lies outside the elevation model. The map is the strip's mapping system, and the strip's data are loaded. Throws what
/// the surface throws when it can't be read.
KESGDAL_EXPORT std::optional<Extent> footprint(sensor::KESStripModel const& strip, int band,
                                               dsm::RasterElevationSource* surface);

/// The smallest box around both.
KESGDAL_EXPORT Extent united(Extent const& a, Extent const& b);

/// The pixels of an orthophoto: square, north up, with edges at whole multiples of their size, so that those of different
/// bands and strips fit one another.
class KESGDAL_EXPORT OrthoGrid {
public:
  /// The most pixels in a band: a terapixel.
  static constexpr double MOST_PIXELS = 1e12;

  /// The smallest grid around a box. `gsd` in metres: its size in the unit of the map is that by `geo::units::getScale`, so that
  /// pixels of a geographic system are squares in angles, `gsd` from north to south, and narrower on the ground from east to
  /// west by the cosine of the latitude. Throws std::runtime_error "ground sampling distance of <gsd> m isn't above 0", and
  /// "ground sampling distance of <gsd> m gives an image of <columns> x <rows> pixels" for more than GDAL or anybody can hold.
  OrthoGrid(Extent const& extent, double gsd, geo::coordSys const& map);

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
