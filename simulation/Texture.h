// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/RasterElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>
#include <simulation/ValueNoise.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace geo {
class coordSys;
}

namespace simulation {

/// What the ground looks like: a brightness at each place, 0 to 65535. It depends on the place alone, so that all bands
/// see the same. Any number of threads may ask one texture.
class Texture {
public:
  virtual ~Texture();
  Texture(Texture const&) = delete;
  Texture& operator=(Texture const&) = delete;

  /// The system of positions for `value`; lives as long as the texture.
  virtual kes::CoordinateSystem const& coordSystem() const = 0;
  /// The brightness at a position, whose z doesn't count; 0 where there is none.
  virtual double value(geo::XYZPoint const& position) const = 0;
  /// The brightness at a WGS 84 longitude (x) and latitude (y) in radians.
  double at(geo::XYZPoint const& lonLat) const;

protected:
  Texture();

private:
  std::unique_ptr<geo::coordSys> mGeographic;
};

/// The texture of a plan's images: its raster, or the shaded terrain with a fine pattern as coarse as the plan's
/// pixels. The caller keeps the terrain. Throws what `RasterTexture` throws.
std::unique_ptr<Texture> makeTexture(FlightPlan const& plan, Terrain const& terrain);

/// The first band of a raster, any that GDAL reads, in any coordinate reference system: values as they are, bilinear
/// between the cells' centres, and limited to 0 to 65535. Outside the raster, and where it has no data, the brightness
/// is 0.
class RasterTexture final : public Texture {
public:
  /// Throws std::runtime_error "can't use texture FILE: " and the reason: it can't be opened, has no place on the
  /// ground, or a system that can't be related to WGS 84.
  explicit RasterTexture(std::string const& file);

  kes::CoordinateSystem const& coordSystem() const override { return mBrightness.coordinateSystem(); }
  /// Throws std::runtime_error "can't use texture FILE: " and the reason when the raster can't be read.
  double value(geo::XYZPoint const& position) const override;

private:
  std::string mFile;
  // Interpolation, tiles and threads are those of heights.
  kes::Surface mBrightness;
};

/// The terrain in the light of a sun in the north-west, 45 degrees high, with a fine pattern fixed to the ground, so
/// that every part of an image can be matched with its neighbour: a value noise in metres of the ground, from squares
/// of about two to four pixels up to 64 m.
///
/// Brightness = 65535 (0.15 + 0.45 shade + 0.35 noise), shade and noise from 0 to 1: never 0 where there is terrain.
/// Shade is the cosine of the angle between the sun and the surface's normal, 0 on the far side (Lambert); slopes are
/// taken over a cell of the elevation model, so that the shade is continuous.
class ShadedTexture final : public Texture {
public:
  /// The caller keeps the terrain; `pixel` is the ground size of a pixel in metres.
  ShadedTexture(Terrain const& terrain, std::uint64_t seed, double pixel);

  kes::CoordinateSystem const& coordSystem() const override { return mTerrain.surface().coordinateSystem(); }
  double value(geo::XYZPoint const& position) const override;

private:
  double shade(geo::XYZPoint const& position) const;
  geo::XYPoint metres(double dx, double dy) const;
  double rise(geo::XYZPoint const& position, geo::XYPoint const& step) const;

  Terrain const& mTerrain;
  ValueNoise mNoise;
  geo::XYZPoint mOrigin;
  // East and north metres of one unit of the terrain's x and of its y, at the middle of the terrain.
  geo::XYPoint mX;
  geo::XYPoint mY;
  // One column and one row of the terrain in its system, and the same in metres.
  geo::XYPoint mColumn;
  geo::XYPoint mRow;
  double mUnit;
};

}  // namespace simulation
