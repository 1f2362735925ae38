// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>
#include <dsm/ProjectedElevationSource.h>
#include <geo/XYPoint.h>
#include <util/Origin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace dsm {

/// An elevation model: the heights in the cells of the first band of a raster, any that GDAL reads, of any size and in
/// any coordinate reference system with a horizontal part, projected or geographic.
///
/// Place. x is the easting or longitude and y the northing or latitude, in the units of the raster's own system, and
/// the raster may lie turned or sheared. In a geographic system a longitude that is a full turn away from the raster's
/// counts as the one within it, and a raster all around the globe has no seam.
///
/// Heights are those of the raster's system, in the unit of its vertical axis: above the datum of its vertical part or,
/// without one, above its ellipsoid in metres. `geo::coordSys::transform` from `coordSystem()` leads to any other. The
/// band's scale and offset are applied first. Then a band that names its unit of length ("m", "ft", "US survey foot"
/// and whatever else PROJ knows) is converted from it; a band that names none is in the unit of the vertical axis.
///
/// Surface. A height is interpolated bilinearly between the centres of the four cells around a position. A cell has no
/// height where the band's mask or no-data value says so, or where its value is NaN or infinite. The surface is made of
/// all the cells that have a height, whole to their edges: where the cell around a position has none, there is no
/// height; where some of the other three have none, or lie outside the raster, those that have one share their weights
/// in proportion. So nothing is lost along the outer half of a border cell, nothing is made up beyond it, and the
/// surface is continuous, as it is in GDAL's bilinear warping. A position counts as on an edge, which belongs to the
/// cells on both sides, up to a millionth of a cell away. Heights are good to a unit in the last place of the greatest
/// of the four as a float.
///
/// Memory. Cells are read as they are needed, in square tiles of 128 by 128 cells, which take 78 KB each. A raster
/// whose tiles `cacheSize` has room for all, as the default has for 7400 by 7400 cells, keeps each of them once it is
/// read. Of a larger one, those used last are kept: as many as `cacheSize` holds, one at the least, and up to sixteen
/// more for each thread, of those it met last, until it ends or meets others. Between what the heights of its tiles
/// lie, once it is asked for, takes 11 bytes for each tile. GDAL's own cache of blocks comes on top (its option
/// GDAL_CACHEMAX).
///
/// Threads may share a source. Each sees the same heights to the bit. Heights in tiles that are kept cost neither a
/// lock nor an allocation where there is room for all; otherwise, those in tiles that a thread met last.
class KESPLATFORM_EXPORT RasterElevationSource final : public ProjectedElevationSource {
public:
  /// Least and greatest x and y of the raster's corners, in the horizontal unit of `coordSystem()`.
  struct Bounds {
    geo::XYPoint minimum;
    geo::XYPoint maximum;
  };
  /// The cells, and where they lie: column c and row r, counted from 0 at the outer corner of the first cell, are at
  /// x = geoTransform[0] + geoTransform[1] c + geoTransform[2] r and
  /// y = geoTransform[3] + geoTransform[4] c + geoTransform[5] r.
  struct Grid {
    int columns;
    int rows;
    std::array<double, 6> geoTransform;
    /// A full turn of longitude in the unit of x; 0 where x is none.
    double fullTurn;
    /// Whether the last column and the first are neighbours, all around the globe.
    bool isRing;
  };
  /// Heights in the vertical unit of `coordSystem()`.
  struct HeightRange {
    float lowest;
    float highest;
  };

  /// 256 MiB.
  static constexpr std::size_t DEFAULT_CACHE_SIZE = std::size_t{256} << 20U;

  /// Opens a raster (UTF-8), and holds it open. `cacheSize` is the memory for tiles, in bytes. `origin` says where the
  /// name comes from, and so what it may lead to (see `raster::openRaster`); the raster's coordinate system is always
  /// read as one out of a file. Throws std::runtime_error "Can't open elevation model \"<name>\": " and the reason: it
  /// isn't there, is no raster, has no place on the ground or no coordinate system; the system can't be related to WGS
  /// 84 (a grid isn't installed, see `geo::coordSysFactory::createCoordSys`); or the values aren't real numbers or in
  /// no unit of length.
  ///
  /// `vertical` defines what heights count from, such as "EPSG:5773", for a raster whose system has no vertical part;
  /// empty: that of the system alone. Throws likewise, with the reason `"<vertical>" isn't a vertical coordinate system`
  /// or, when the raster has another vertical part, `its heights are "<name>" already, not "<name>"`.
  explicit RasterElevationSource(std::string const& fileName, std::size_t cacheSize = DEFAULT_CACHE_SIZE,
                                 util::Origin origin = util::Origin::user, std::string const& vertical = {});
  ~RasterElevationSource() override;

  /// As above. Throws std::runtime_error "Can't read elevation model \"<name>\": " and the reason when cells
  /// around the position can't be read; `height` is then untouched, and the next call tries again.
  bool height(geo::XYZPoint const& position, float& height) const override;

  std::string const& fileName() const;
  /// Whether `coordSystem()` says what heights count from; otherwise they are taken as ellipsoidal.
  bool hasVerticalDatum() const;
  /// A box around the raster, in which it fills all but the corners it leaves when it lies turned.
  Bounds const& bounds() const;
  Grid const& grid() const;
  /// The least and the greatest height of all cells, between which all heights lie; nothing when no cell has a height.
  /// The first call reads the whole raster, without keeping what there is no room for. Throws as `height` does.
  std::optional<HeightRange> heightRange() const;

  /// The tile in a column and row of tiles, counted from 0; mesh i lies between the centres of the cells i - 1 and i,
  /// so that there is a mesh more than cells each way. It stays until the thread asks the source for another tile or
  /// height. Throws as `height` does.
  HeightTile const& tile(std::uint64_t column, std::uint64_t row) const;
  /// Of the corners of a square of 2^bits by 2^bits meshes, from `HeightTile::MESH_BITS` on, in a column and row of
  /// such squares. Needs what `heightRange` reads.
  HeightExtent const& extent(unsigned bits, std::uint64_t column, std::uint64_t row) const;

private:
  class Surface;
  explicit RasterElevationSource(std::unique_ptr<Surface const> surface);

  std::unique_ptr<Surface const> mSurface;
};

}  // namespace dsm
