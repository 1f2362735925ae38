#pragma once

#include <geo/XYZPoint.h>

#include <vector>

namespace dsm {
class ProjectedElevationSource;
}

namespace geo {
class coordSys;
}

namespace sensor {
class KESStripModel;
}

namespace kesgdal {

/// Puts positions of the map onto a surface: the position of the surface's system that lies at the x and y of the map.
///
/// Between two systems of one datum that doesn't depend on the height. Between others the height moves a position sideways, by
/// some millimetres in hundreds of metres; it is then found in passes, from the mean terrain of a strip on.
class SurfacePositions {
public:
  /// The map is the strip's mapping system. The caller keeps both.
  SurfacePositions(sensor::KESStripModel const& strip, dsm::ProjectedElevationSource const& surface);

  /// Replaces positions of the map, whose z doesn't count, by those of the strip's local system on the surface; NaN where
  /// there is none. `scratch` is of the same size. One row at a time is best.
  void toLocal(std::vector<geo::XYZPoint>& points, std::vector<geo::XYZPoint>& scratch) const;

private:
  bool dependOnHeight(sensor::KESStripModel const& strip) const;
  void toSurface(std::vector<geo::XYZPoint>& points) const;
  void setHeights(std::vector<geo::XYZPoint>& points) const;

  geo::coordSys const* mMap;
  geo::coordSys const* mLocal;
  dsm::ProjectedElevationSource const& mSurface;
  bool mIsMapOfSurface;
  bool mDependOnHeight = false;
  double mMeanHeight = 0.0;  // of the map
};

}  // namespace kesgdal
