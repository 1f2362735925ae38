#pragma once

#include <geo/XYZPoint.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace geo {
class coordSys;
}

namespace simulation {

/// An elevation model held in memory: heights in metres above the WGS 84 ellipsoid, as the file has them.
class Terrain {
public:
  /// Reads the first band of a raster. Throws std::runtime_error with the file's name when it can't be opened or read, has no
  /// coordinate system or no place on the ground.
  explicit Terrain(std::string const& file);
  ~Terrain();
  Terrain(Terrain const&) = delete;
  Terrain& operator=(Terrain const&) = delete;

  /// Longitude and latitude of the raster's middle, radians; z is 0.
  geo::XYZPoint middle() const;
  /// Height of the cell at a longitude and latitude (radians); nothing outside and where the raster has no data.
  std::optional<double> height(geo::XYZPoint const& lonLat) const;

private:
  std::string mFile;
  int mWidth = 0;
  int mHeight = 0;
  double mToMap[6] = {};
  double mToRaster[6] = {};
  std::vector<float> mHeights;
  std::optional<float> mNoData;
  std::unique_ptr<geo::coordSys> mSystem;
  std::unique_ptr<geo::coordSys> mGeographic;
};

}  // namespace simulation
