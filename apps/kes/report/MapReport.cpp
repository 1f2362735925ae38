// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/MapReport.h"

#include "images/Outlines.h"
#include "shared/Numbers.h"

#include <kes/Strip.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace tool {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr int pointsPerSide = 16;
constexpr std::size_t pointsOfFlightLine = 65;
constexpr double margin = 0.06;     // of the longer side of the map
constexpr double reliefSize = 560;  // cells of its longer side

bool isPlace(geo::XYPoint const& point) {
  return std::isfinite(point.x) && std::isfinite(point.y);
}

/// Grows around points.
class ExtentOfPoints {
public:
  void add(geo::XYPoint const& point) {
    if (isPlace(point)) {
      mExtent.lowest = {std::fmin(mExtent.lowest.x, point.x), std::fmin(mExtent.lowest.y, point.y)};
      mExtent.highest = {std::fmax(mExtent.highest.x, point.x), std::fmax(mExtent.highest.y, point.y)};
    }
  }
  void add(std::vector<geo::XYPoint> const& points) {
    for (geo::XYPoint const& point : points) {
      add(point);
    }
  }
  /// Throws std::runtime_error when there is no point.
  MapExtent withMargin() const {
    if (!isPlace(mExtent.lowest)) {
      throw std::runtime_error("the coordinate system of the map doesn't reach the strips");
    }
    double const more = margin * std::max(mExtent.width(), mExtent.height());
    // A map isn't narrower than a third of its length.
    double const side = std::max(mExtent.width(), mExtent.height()) / 3.0;
    double const moreX = std::max(more, 0.5 * (side - mExtent.width()));
    double const moreY = std::max(more, 0.5 * (side - mExtent.height()));
    return {{mExtent.lowest.x - moreX, mExtent.lowest.y - moreY},
            {mExtent.highest.x + moreX, mExtent.highest.y + moreY}};
  }

private:
  MapExtent mExtent{{none, none}, {none, none}};
};

// The length on the ground of a unit of the map, in the middle of an extent.
double metresPerUnit(kes::CoordinateSystem const& map, MapExtent const& extent) {
  constexpr double step = 1e-3;
  double const length = step * extent.width();
  geo::XYPoint const middle{0.5 * (extent.lowest.x + extent.highest.x), 0.5 * (extent.lowest.y + extent.highest.y)};
  std::array<geo::XYZPoint, 2> ends{{{middle.x, middle.y, 0.0}, {middle.x + length, middle.y, 0.0}}};
  map.transform(kes::CoordinateSystem::wgs84Radians(), ends, ends);
  kes::CoordinateSystem const local = kes::CoordinateSystem::local({ends[0].x, ends[0].y, 0.0});
  ends[0].z = ends[1].z = 0.0;
  kes::CoordinateSystem::wgs84Radians().transform(local, ends, ends);
  return std::hypot(ends[1].x - ends[0].x, ends[1].y - ends[0].y) / length;
}

}  // namespace

void MapProjection::addOutline(BandReport& report, kes::Strip const& strip, kes::Band const& band) const {
  std::vector<geo::XYPoint> const edges = edgesOf(band, pointsPerSide);
  std::vector<geo::XYZPoint> ground(edges.size());
  std::vector<kes::Status> status(edges.size());
  kes::ToGroundOptions toGround;
  if (mSurface) {
    toGround.system = mMap;
    toGround.heights = *mSurface;
  } else {
    toGround.heights = kes::ConstantHeight{strip.meanTerrainHeight()};
  }
  report.isOutlineComplete = band.toGround(edges, toGround, ground, status) == edges.size();
  if (!mSurface) {
    strip.localSystem().transform(mMap, ground, ground);
  }
  for (geo::XYZPoint const& point : ground) {
    if (isPlace({point.x, point.y})) {
      report.outline.emplace_back(point.x, point.y);
    }
  }
}

std::vector<geo::XYPoint> MapProjection::flightLine(kes::Strip const& strip) const {
  kes::Trajectory const trajectory = strip.trajectory();
  std::size_t const last = trajectory.size() - 1;
  std::size_t const count = std::min(pointsOfFlightLine, trajectory.size());
  std::vector<geo::XYZPoint> positions;
  for (std::size_t i = 0; i < count; ++i) {
    positions.push_back(trajectory[count > 1 ? last * i / (count - 1) : 0].position);
  }
  strip.localSystem().transform(mMap, positions, positions);
  std::vector<geo::XYPoint> line;
  for (geo::XYZPoint const& position : positions) {
    line.emplace_back(position.x, position.y);
  }
  return line;
}

geo::XYPoint MapProjection::place(kes::CoordinateSystem const& system, geo::XYZPoint const& position) const {
  geo::XYZPoint onMap{none, none, none};
  system.transform(mMap, {&position, 1}, {&onMap, 1});
  return {onMap.x, onMap.y};
}

void MapProjection::finish(MapReport& map, std::vector<StripReport> const& strips) const {
  ExtentOfPoints extent;
  for (StripReport const& strip : strips) {
    extent.add(strip.flightLine);
    for (BandReport const& band : strip.bands) {
      extent.add(band.outline);
    }
  }
  map.crs = mMap.definition();
  map.unit = mMap.horizontalUnit().name;
  map.extent = extent.withMargin();
  map.metresPerUnit = metresPerUnit(mMap, map.extent);
  if (mSurface) {
    map.elevationModel = mSurface->fileName();
    map.relief = reliefOf(map.extent);
  }
}

ReliefGrid MapProjection::reliefOf(MapExtent const& extent) const {
  double const cell = std::max(extent.width(), extent.height()) / reliefSize;
  ReliefGrid relief{
      static_cast<int>(std::ceil(extent.width() / cell)), static_cast<int>(std::ceil(extent.height() / cell)), {}};
  std::vector<geo::XYZPoint> row(static_cast<std::size_t>(relief.columns));
  std::vector<double> heights(row.size());
  double const toMetres = mSurface->coordinateSystem().verticalUnit().metres;
  for (int i = 0; i < relief.rows; ++i) {
    for (int j = 0; j < relief.columns; ++j) {
      row[static_cast<std::size_t>(j)] = {extent.lowest.x + (j + 0.5) * cell, extent.highest.y - (i + 0.5) * cell, 0.0};
    }
    mMap.transform(mSurface->coordinateSystem(), row, row);
    mSurface->heights(row, heights);
    std::transform(heights.begin(), heights.end(), std::back_inserter(relief.heights),
                   [&](double height) { return height * toMetres; });
  }
  return relief;
}

kes::CoordinateSystem utmAround(kes::GeodeticPosition const& place) {
  constexpr double mostNorth = 84.0;
  constexpr double mostSouth = -80.0;
  double const longitude = place.longitude * degrees;
  double const latitude = place.latitude * degrees;
  if (latitude > mostNorth || latitude < mostSouth) {
    return kes::CoordinateSystem(latitude > 0.0 ? "EPSG:32661" : "EPSG:32761");
  }
  int const zone = std::clamp(static_cast<int>(std::floor((longitude + 180.0) / 6.0)) + 1, 1, 60);
  return kes::CoordinateSystem("EPSG:" + std::to_string((latitude < 0.0 ? 32700 : 32600) + zone));
}

}  // namespace tool
