// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfacePositions.h"

#include "MapDefinition.h"

#include <geo/XYPoint.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>

namespace kesgdal {

namespace {

// From pass to pass the sideways error shrinks by the angle between the two verticals times the terrain's slope, at
// worst by a thousand (a local system at the end of a strip of ten kilometres).
constexpr int passesOnHeight = 4;
constexpr double heightToTry = 1000.0;      // metres
constexpr double sidewaysTolerance = 1e-6;  // metres
constexpr double nodeDistance = 30.0;       // metres
// A row for which there would be more nodes than a part of its positions is converted position by position.
constexpr std::size_t positionsPerNode = 4;
// Between nodes that are farther apart than so many times their distance on the map lies the date line, or a pole is
// near.
constexpr double mostStretch = 10.0;

geo::XYZPoint interpolated(geo::XYZPoint const& a, geo::XYZPoint const& b, double w) {
  return {a.x + w * (b.x - a.x), a.y + w * (b.y - a.y), a.z + w * (b.z - a.z)};
}

// Whether x and y are the same in both systems, whatever their heights are.
bool shareHorizontal(kes::CoordinateSystem const& a, kes::CoordinateSystem const& b) {
  if (a == b) {
    return true;
  }
  OGRSpatialReference first = spatialReferenceOf(a);
  OGRSpatialReference second = spatialReferenceOf(b);
  first.StripVertical();
  second.StripVertical();
  char const* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
  return !first.IsEmpty() && first.IsSame(&second, options) != 0;
}

}  // namespace

SurfacePositions::SurfacePositions(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface)
    : mMap(map), mLocal(band.localSystem()), mSurface(surface),
      mIsMapOfSurface(shareHorizontal(map, surface.coordinateSystem())), mMapUnit(map.horizontalUnit().metres),
      mSurfaceUnit(surface.coordinateSystem().horizontalUnit().metres),
      mHeightUnit(surface.coordinateSystem().verticalUnit().metres) {
  mMeanHeight = startOfLine(band.model(), 0.5 * band.model().imageHeight(0)).z;
  mDependOnHeight = !mIsMapOfSurface && dependOnHeight(band.model());
}

// Where the first sample of the strip's first band sees the mean terrain, on the map.
geo::XYZPoint SurfacePositions::startOfLine(sensor::KESStripModel const& strip, double line) const {
  geo::XYZPoint position;
  strip.imageToLsr(geo::XYPoint(0.0, line), static_cast<float>(strip.meanTerrainHeight()), 0, position);
  mLocal.transform(mMap, {&position, 1}, {&position, 1});
  return position;
}

bool SurfacePositions::dependOnHeight(sensor::KESStripModel const& strip) const {
  bool depend = false;
  for (double const line : {0.0, static_cast<double>(strip.imageHeight(0))}) {
    geo::XYZPoint const position = startOfLine(strip, line);
    geo::XYZPoint ends[2] = {position, position};
    ends[1].z += heightToTry / mMap.verticalUnit().metres;
    mMap.transform(mSurface.coordinateSystem(), ends, ends);
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
  toSurface(points, buffers);
  for (int pass = 1; mDependOnHeight && pass < passesOnHeight; ++pass) {
    mSurface.coordinateSystem().transform(mMap, points, points);
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i].x = buffers.map[i].x;
      points[i].y = buffers.map[i].y;
    }
    toSurface(points, buffers);
  }
  mSurface.coordinateSystem().transform(mLocal, points, points);
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
    points[i] = foot((columns[i] - start) * nodesPerColumn, buffers);
  }
  buffers.heights.resize(points.size());
  mSurface.heights(points, buffers.heights);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = onSurface((columns[i] - start) * nodesPerColumn, buffers.heights[i], buffers);
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
  kes::CoordinateSystem const& system = mSurface.coordinateSystem();
  mMap.transform(system, nodes, nodes);
  for (std::size_t k = 1; k < count; ++k) {
    double const step = std::hypot(nodes[k].x - nodes[k - 1].x, nodes[k].y - nodes[k - 1].y) * mSurfaceUnit;
    if (!(step <= mostStretch * nodeDistance)) {
      return false;
    }
  }
  buffers.low = nodes;
  buffers.high = nodes;
  for (geo::XYZPoint& node : buffers.high) {
    node.z += heightToTry / mHeightUnit;
  }
  return system.transform(mLocal, buffers.low, buffers.low) == count &&
         system.transform(mLocal, buffers.high, buffers.high) == count;
}

// The position of the surface's system a fractional number of nodes after the first one.
geo::XYZPoint SurfacePositions::foot(double node, Buffers const& buffers) {
  std::size_t const k = std::min(static_cast<std::size_t>(node), buffers.nodes.size() - 2);
  return interpolated(buffers.nodes[k], buffers.nodes[k + 1], node - static_cast<double>(k));
}

// The local position at a height there.
geo::XYZPoint SurfacePositions::onSurface(double node, double height, Buffers const& buffers) const {
  std::size_t const k = std::min(static_cast<std::size_t>(node), buffers.nodes.size() - 2);
  double const w = node - static_cast<double>(k);
  double const part = (height - foot(node, buffers).z) * mHeightUnit / heightToTry;
  return interpolated(interpolated(buffers.low[k], buffers.low[k + 1], w),
                      interpolated(buffers.high[k], buffers.high[k + 1], w), part);
}

// From the map to the surface's system, and there onto the surface.
void SurfacePositions::toSurface(std::vector<geo::XYZPoint>& points, Buffers& buffers) const {
  if (!mIsMapOfSurface) {
    mMap.transform(mSurface.coordinateSystem(), points, points);
  }
  buffers.heights.resize(points.size());
  mSurface.heights(points, buffers.heights);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i].z = buffers.heights[i];
  }
}

}  // namespace kesgdal
