#include "SurfacePositions.h"

#include "MapDefinition.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/coordSys.h>
#include <geo/units.h>
#include <sensor/KESStripModel.h>

#include <cmath>
#include <limits>

namespace kesgdal {

namespace {

// From pass to pass the sideways error shrinks by the angle between the two verticals times the terrain's slope, at worst by a
// thousand (a local system at the end of a strip of ten kilometres).
constexpr int passesOnHeight = 4;
constexpr double heightToTry = 1000.0;      // metres
constexpr double sidewaysTolerance = 1e-6;  // metres

// Whether x and y are the same in both systems, whatever their heights are.
bool shareHorizontal(geo::coordSys const& a, geo::coordSys const& b) {
  if (&a == &b) {
    return true;
  }
  OGRSpatialReference first = spatialReferenceOf(a);
  OGRSpatialReference second = spatialReferenceOf(b);
  first.StripVertical();
  second.StripVertical();
  char const* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
  return !first.IsEmpty() && first.IsSame(&second, options) != 0;
}

// Where the first sample of the first band sees the mean terrain.
geo::XYZPoint mapPosition(sensor::KESStripModel const& strip, double line) {
  geo::XYZPoint position;
  strip.imageToLsr(geo::XYPoint(0.0, line), static_cast<float>(strip.meanTerrainHeight()), 0, position);
  geo::coordSys::transform(strip.lsrSystem(), strip.mappingSystem(), position, position);
  return position;
}

}  // namespace

SurfacePositions::SurfacePositions(sensor::KESStripModel const& strip, dsm::ProjectedElevationSource const& surface)
    : mMap(strip.mappingSystem()), mLocal(strip.lsrSystem()), mSurface(surface),
      mIsMapOfSurface(shareHorizontal(*mMap, *surface.coordSystem())) {
  mMeanHeight = mapPosition(strip, 0.5 * strip.imageHeight(0)).z;
  mDependOnHeight = !mIsMapOfSurface && dependOnHeight(strip);
}

bool SurfacePositions::dependOnHeight(sensor::KESStripModel const& strip) const {
  double const unit = mSurface.coordSystem()->horizontalUnits().getScale();
  bool depend = false;
  for (double const line : {0.0, static_cast<double>(strip.imageHeight(0))}) {
    geo::XYZPoint const position = mapPosition(strip, line);
    geo::XYZPoint ends[2] = {position, position};
    ends[1].z += heightToTry / mMap->verticalUnits().getScale();
    geo::coordSys::transform(mMap, mSurface.coordSystem(), ends, ends, 2);
    double const sideways = std::hypot(ends[1].x - ends[0].x, ends[1].y - ends[0].y) * unit;
    depend = depend || !(sideways <= sidewaysTolerance);
  }
  return depend;
}

void SurfacePositions::toLocal(std::vector<geo::XYZPoint>& points, std::vector<geo::XYZPoint>& scratch) const {
  for (geo::XYZPoint& point : points) {
    point.z = mMeanHeight;
  }
  if (mDependOnHeight) {
    scratch = points;
  }
  toSurface(points);
  for (int pass = 1; mDependOnHeight && pass < passesOnHeight; ++pass) {
    geo::coordSys::transform(mSurface.coordSystem(), mMap, points.data(), points.data(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i].x = scratch[i].x;
      points[i].y = scratch[i].y;
    }
    toSurface(points);
  }
  geo::coordSys::transform(mSurface.coordSystem(), mLocal, points.data(), points.data(), points.size());
}

// From the map to the surface's system, and there onto the surface.
void SurfacePositions::toSurface(std::vector<geo::XYZPoint>& points) const {
  if (!mIsMapOfSurface) {
    geo::coordSys::transform(mMap, mSurface.coordSystem(), points.data(), points.data(), points.size());
  }
  setHeights(points);
}

void SurfacePositions::setHeights(std::vector<geo::XYZPoint>& points) const {
  for (geo::XYZPoint& point : points) {
    float height = std::numeric_limits<float>::quiet_NaN();
    mSurface.height(point, height);
    point.z = static_cast<double>(height);
  }
}

}  // namespace kesgdal
