// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/RasterElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Surface.h>

#include <memory>
#include <optional>
#include <string>

namespace simulation {

/// The elevation model that a flight goes over, and its cells. Any number of threads may share it.
class Terrain {
public:
  /// Throws what `kes::Surface::raster` throws.
  explicit Terrain(std::string const& file, kes::Surface::VerticalDatum const& vertical = {});
  ~Terrain();
  Terrain(Terrain const&) = delete;
  Terrain& operator=(Terrain const&) = delete;

  /// The surface, in its own coordinate system; and the raster that it consists of.
  kes::Surface const& surface() const { return mSurface; }
  dsm::RasterElevationSource const& source() const { return mSource; }

  /// Longitude and latitude of the raster's middle, radians; z is 0. Throws std::runtime_error "elevation model has no
  /// place on the ground: FILE" when WGS 84 knows no such place.
  geo::XYZPoint middle() const;
  /// Height in metres above the WGS 84 ellipsoid at a longitude and latitude (radians); nothing where there is no
  /// terrain.
  std::optional<double> height(geo::XYZPoint const& lonLat) const;

  /// The raster's size in cells.
  int columns() const { return mSource.grid().columns; }
  int rows() const { return mSource.grid().rows; }
  /// The place of x columns and y rows from the outer corner of the first cell, whose centre is thus at 0.5, 0.5, in
  /// the source's system; z is 0.
  geo::XYZPoint position(geo::XYPoint const& cell) const;

private:
  kes::Surface mSurface;
  dsm::RasterElevationSource const& mSource;
  std::unique_ptr<geo::coordSys> mGeographic;
};

}  // namespace simulation
