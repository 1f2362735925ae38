// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/FlightPlan.h>

#include <memory>

namespace geo {
class coordSys;
}

namespace simulation {

class Terrain;

/// What the ground looks like: a brightness at each place, 0 to 65535. It depends on the place alone, so that all bands see
/// the same. Any number of threads may ask one texture.
class Texture {
public:
  virtual ~Texture();
  Texture(Texture const&) = delete;
  Texture& operator=(Texture const&) = delete;

  /// The system of positions for `value`; lives as long as the texture.
  virtual geo::coordSys const& coordSystem() const = 0;
  /// The brightness at a position, whose z doesn't count; 0 where there is none.
  virtual double value(geo::XYZPoint const& position) const = 0;
  /// The brightness at a WGS 84 longitude (x) and latitude (y) in radians.
  double at(geo::XYZPoint const& lonLat) const;

protected:
  Texture();

private:
  std::unique_ptr<geo::coordSys> mGeographic;
};

/// The texture of a plan's images: its raster, or the shaded terrain with a fine pattern as coarse as the plan's pixels. The
/// caller keeps the terrain. Throws what `RasterTexture` throws.
std::unique_ptr<Texture> makeTexture(FlightPlan const& plan, Terrain const& terrain);

}  // namespace simulation
