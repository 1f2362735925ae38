// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfacePositions.h"

#include "MapDefinition.h"

#include <geo/XYPoint.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace kesgdal {

namespace {

// From pass to pass the sideways error shrinks by the angle between the two verticals times the terrain's slope, at
// worst by a thousand (a local system at the end of a strip of ten kilometres).
constexpr int passesOnHeight = 4;
constexpr double heightToTry = 1000.0;      // metres
constexpr double sidewaysTolerance = 1e-6;  // metres
constexpr double nodeDistance = 30.0;       // metres
constexpr double greatestRows = 2000.0;     // metres from row to row, between which positions are linear to a decimetre
// A row for which there would be more nodes than a part of its positions is converted position by position.
constexpr std::size_t positionsPerNode = 4;
// Between nodes that are farther apart than so many times their distance on the map lies the date line, or a pole is
// near.
constexpr double mostStretch = 10.0;

constexpr geo::XYZPoint nowhere(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN(),
                                std::numeric_limits<double>::quiet_NaN());

// Positions between two of them.
struct Chord {
  Chord(geo::XYZPoint const& a, geo::XYZPoint const& b) : start(a), step(b.x - a.x, b.y - a.y, b.z - a.z) {}
  Chord(std::vector<geo::XYZPoint> const& nodes, std::size_t k) : Chord(nodes[k], nodes[k + 1]) {}
  geo::XYZPoint at(double w) const { return {start.x + w * step.x, start.y + w * step.y, start.z + w * step.z}; }

  geo::XYZPoint start;
  geo::XYZPoint step;
};

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
  std::size_t const nodes = nodeCount({first, last});
  bool const pays = !mDependOnHeight && *greatest > *least && (nodes - 1) * positionsPerNode < points.size();
  if (!pays || !makeNodes(first, last, nodes, buffers)) {
    toLocal(points, buffers);
    return;
  }
  double const start = *least;
  double const nodesPerColumn = static_cast<double>(nodes - 1) / (*greatest - start);
  buffers.places.resize(points.size());
  buffers.heights.resize(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    buffers.places[i] = (columns[i] - start) * nodesPerColumn;
  }
  bool const isKnown = buffers.isExcluded.size() + 1 == nodes;
  forEachSegment(buffers, [&](std::size_t k, std::size_t begin, std::size_t end) {
    if (isKnown && buffers.isExcluded[k] != 0) {
      std::fill(points.begin() + static_cast<std::ptrdiff_t>(begin), points.begin() + static_cast<std::ptrdiff_t>(end),
                nowhere);
    } else {
      putSegmentOnSurface(k, begin, end, points, buffers);
    }
  });
}

std::size_t SurfacePositions::nodeCount(Row const& row) const {
  double const length = std::hypot(row.last.x - row.first.x, row.last.y - row.first.y) * mMapUnit;
  return static_cast<std::size_t>(std::max(std::ceil(length / nodeDistance), 1.0)) + 1;
}

bool SurfacePositions::exclude(Row const& top, Row const& bottom, StripReach const& reach,
                               kes::Surface::HeightRange const& heights, Buffers& buffers) const {
  buffers.isExcluded.clear();
  double const distance = std::hypot(bottom.first.x - top.first.x, bottom.first.y - top.first.y) * mMapUnit;
  std::size_t const count = nodeCount(top);
  std::vector<geo::XYZPoint> corners;  // four for each pair of nodes of the two rows
  for (Row const& row : {top, bottom}) {
    if (mDependOnHeight || !(distance <= greatestRows) || !makeNodes(row.first, row.last, count, buffers)) {
      return true;
    }
    for (std::size_t k = 0; k < count; ++k) {
      Chord const upwards(buffers.low[k], buffers.high[k]);
      for (double const height : {heights.lowest, heights.highest}) {
        corners.push_back(upwards.at((height - buffers.nodes[k].z) * mHeightUnit / heightToTry));
      }
    }
  }
  bool mayBeSeen = false;
  for (std::size_t k = 0; k + 1 < count; ++k) {
    auto const ofTop = corners.begin() + static_cast<std::ptrdiff_t>(2 * k);
    auto const ofBottom = ofTop + static_cast<std::ptrdiff_t>(2 * count);
    std::array<geo::XYZPoint, 8> cell;
    std::copy(ofTop, ofTop + 4, cell.begin());
    std::copy(ofBottom, ofBottom + 4, cell.begin() + 4);
    bool const isExcluded = reach.excludes(cell);
    buffers.isExcluded.push_back(isExcluded ? 1 : 0);
    mayBeSeen = mayBeSeen || !isExcluded;
  }
  return mayBeSeen;
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

// Calls `work` with the positions of a row from `begin` to before `end` that lie between the same two nodes, the first
// of which is node `k`.
template <class Work>
void SurfacePositions::forEachSegment(Buffers const& buffers, Work const& work) {
  std::size_t const lastSegment = buffers.nodes.size() - 2;
  auto const segmentOf = [&](double place) { return std::min(static_cast<std::size_t>(place), lastSegment); };
  std::size_t end = 0;
  for (std::size_t begin = 0; begin < buffers.places.size(); begin = end) {
    std::size_t const k = segmentOf(buffers.places[begin]);
    for (end = begin + 1; end < buffers.places.size() && segmentOf(buffers.places[end]) == k;) {
      ++end;
    }
    work(k, begin, end);
  }
}

// Positions between two nodes: in the surface's system at the height of these, and from there to the local positions at
// the surface's heights.
void SurfacePositions::putSegmentOnSurface(std::size_t k, std::size_t begin, std::size_t end,
                                           std::vector<geo::XYZPoint>& points, Buffers& buffers) const {
  Chord const nodes(buffers.nodes, k);
  for (std::size_t i = begin; i < end; ++i) {
    points[i] = nodes.at(buffers.places[i] - static_cast<double>(k));
  }
  mSurface.heights(std::span(points).subspan(begin, end - begin),
                   std::span(buffers.heights).subspan(begin, end - begin));
  Chord const low(buffers.low, k);
  Chord const high(buffers.high, k);
  for (std::size_t i = begin; i < end; ++i) {
    double const w = buffers.places[i] - static_cast<double>(k);
    double const part = (buffers.heights[i] - points[i].z) * mHeightUnit / heightToTry;
    points[i] = Chord(low.at(w), high.at(w)).at(part);
  }
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
