// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfacePositions.h"

#include "MapDefinition.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/coordSys.h>
#include <geo/units.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace kesgdal {

namespace {

// From pass to pass the sideways error shrinks by the angle between the two verticals times the terrain's slope, at worst by a
// thousand (a local system at the end of a strip of ten kilometres).
constexpr int passesOnHeight = 4;
constexpr double heightToTry = 1000.0;      // metres
constexpr double sidewaysTolerance = 1e-6;  // metres
constexpr double nodeDistance = 30.0;       // metres
// A row for which there would be more nodes than a part of its positions is converted position by position.
constexpr std::size_t positionsPerNode = 4;
// Between nodes that are farther apart than so many times their distance on the map lies the date line, or a pole is near.
constexpr double mostStretch = 10.0;

geo::XYZPoint interpolated(geo::XYZPoint const& a, geo::XYZPoint const& b, double w) {
  return {a.x + w * (b.x - a.x), a.y + w * (b.y - a.y), a.z + w * (b.z - a.z)};
}

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
      mIsMapOfSurface(shareHorizontal(*mMap, *surface.coordSystem())), mMapUnit(mMap->horizontalUnits().getScale()),
      mSurfaceUnit(surface.coordSystem()->horizontalUnits().getScale()) {
  mMeanHeight = mapPosition(strip, 0.5 * strip.imageHeight(0)).z;
  mDependOnHeight = !mIsMapOfSurface && dependOnHeight(strip);
}

bool SurfacePositions::dependOnHeight(sensor::KESStripModel const& strip) const {
  bool depend = false;
  for (double const line : {0.0, static_cast<double>(strip.imageHeight(0))}) {
    geo::XYZPoint const position = mapPosition(strip, line);
    geo::XYZPoint ends[2] = {position, position};
    ends[1].z += heightToTry / mMap->verticalUnits().getScale();
    geo::coordSys::transform(mMap, mSurface.coordSystem(), ends, ends, 2);
    double const sideways = std::hypot(ends[1].x - ends[0].x, ends[1].y - ends[0].y) * mSurfaceUnit;
    depend = depend || !(sideways <= sidewaysTolerance);
  }
  return depend;
}

void SurfacePositions::toLocal(std::vector<geo::XYZPoint>& points, Buffers& buffers) const {
  for (geo::XYZPoint& point : points) {
    point.z = mMeanHeight;
  }
  if (mDependOnHeight) {
    buffers.map = points;
  }
  toSurface(points);
  for (int pass = 1; mDependOnHeight && pass < passesOnHeight; ++pass) {
    geo::coordSys::transform(mSurface.coordSystem(), mMap, points.data(), points.data(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i].x = buffers.map[i].x;
      points[i].y = buffers.map[i].y;
    }
    toSurface(points);
  }
  geo::coordSys::transform(mSurface.coordSystem(), mLocal, points.data(), points.data(), points.size());
}

void SurfacePositions::rowToLocal(double const* columns, std::vector<geo::XYZPoint>& points, Buffers& buffers) const {
  auto const [least, greatest] = std::minmax_element(columns, columns + points.size());
  geo::XYZPoint const& first = points[static_cast<std::size_t>(least - columns)];
  geo::XYZPoint const& last = points[static_cast<std::size_t>(greatest - columns)];
  double const length = std::hypot(last.x - first.x, last.y - first.y) * mMapUnit;
  double const pieces = std::max(std::ceil(length / nodeDistance), 1.0);
  bool const pays =
      !mDependOnHeight && *greatest > *least && pieces * positionsPerNode < static_cast<double>(points.size());
  if (!pays || !makeNodes(first, last, static_cast<std::size_t>(pieces) + 1, buffers)) {
    toLocal(points, buffers);
    return;
  }
  double const start = *least;
  double const nodesPerColumn = pieces / (*greatest - start);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = between((columns[i] - start) * nodesPerColumn, buffers);
  }
}

// False when the way between nodes isn't smooth, or isn't known.
bool SurfacePositions::makeNodes(geo::XYZPoint const& first, geo::XYZPoint const& last, std::size_t count,
                                 Buffers& buffers) const {
  std::vector<geo::XYZPoint>& nodes = buffers.nodes;
  nodes.resize(count);
  for (std::size_t k = 0; k < count; ++k) {
    double const part = static_cast<double>(k) / static_cast<double>(count - 1);
    nodes[k] = {first.x + part * (last.x - first.x), first.y + part * (last.y - first.y), mMeanHeight};
  }
  geo::coordSys::transform(mMap, mSurface.coordSystem(), nodes.data(), nodes.data(), count);
  for (std::size_t k = 1; k < count; ++k) {
    double const step = std::hypot(nodes[k].x - nodes[k - 1].x, nodes[k].y - nodes[k - 1].y) * mSurfaceUnit;
    if (!(step <= mostStretch * nodeDistance)) {
      return false;
    }
  }
  buffers.low = nodes;
  buffers.high = nodes;
  for (geo::XYZPoint& node : buffers.high) {
    node.z += heightToTry / mSurface.coordSystem()->verticalUnits().getScale();
  }
  return geo::coordSys::transform(mSurface.coordSystem(), mLocal, buffers.low.data(), buffers.low.data(), count) == 0 &&
         geo::coordSys::transform(mSurface.coordSystem(), mLocal, buffers.high.data(), buffers.high.data(), count) == 0;
}

// The local position on the surface, a fractional number of nodes behind the first one.
geo::XYZPoint SurfacePositions::between(double node, Buffers const& buffers) const {
  std::size_t const k = std::min(static_cast<std::size_t>(node), buffers.nodes.size() - 2);
  double const w = node - static_cast<double>(k);
  geo::XYZPoint const foot = interpolated(buffers.nodes[k], buffers.nodes[k + 1], w);
  float height = std::numeric_limits<float>::quiet_NaN();
  mSurface.height(foot, height);
  double const unit = mSurface.coordSystem()->verticalUnits().getScale();
  double const part = (static_cast<double>(height) - foot.z) * unit / heightToTry;
  return interpolated(interpolated(buffers.low[k], buffers.low[k + 1], w),
                      interpolated(buffers.high[k], buffers.high[k + 1], w), part);
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
