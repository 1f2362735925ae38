// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <simulation/BandView.h>
#include <simulation/ScanLine.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace simulation {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double cellMargin = 2.0;
constexpr double heightMargin = 1.0;  // metres
constexpr int passes = 20;

// Grows a box by a position; what isn't a number doesn't count.
template <class Point>
void grow(Point& low, Point& high, Point const& p) {
  low.x = std::fmin(low.x, p.x);
  low.y = std::fmin(low.y, p.y);
  high.x = std::fmax(high.x, p.x);
  high.y = std::fmax(high.y, p.y);
}

// Lines of sight all over an image.
class Footprint {
public:
  Footprint(sensor::KESStripModel const& strip, int band, Terrain const& terrain);

  /// The ground below the lines from a height down to another, without heights.
  SeenGround between(double low, double high) const;
  /// The local heights of a height of the terrain, the least or the greatest below all lines.
  double localHeight(double terrainHeight, bool least) const;

private:
  std::vector<geo::XYZPoint> places(double low, double high) const;

  Terrain const& mTerrain;
  geo::coordSys const& mLocal;
  geo::coordSys const& mSystem;
  std::vector<LineOfSight> mLines;
};

Footprint::Footprint(sensor::KESStripModel const& strip, int band, Terrain const& terrain)
    : mTerrain(terrain), mLocal(*strip.lsrSystem()), mSystem(*terrain.source().coordSystem()) {
  constexpr int steps = 4;        // along a line
  constexpr int lineStride = 64;  // less than the time of a tilt
  int const last = static_cast<int>(strip.imageHeight(band)) - 1;
  double const lastSample = static_cast<double>(strip.imageWidth(band)) - 1.0;
  for (int line = 0; line < last + lineStride; line += lineStride) {
    ScanLine const scan(strip, band, std::min(line, last), static_cast<float>(strip.meanTerrainHeight()));
    for (int i = 0; i <= steps; ++i) {
      mLines.push_back(scan.through(lastSample * i / steps));
    }
  }
}

std::vector<geo::XYZPoint> Footprint::places(double low, double high) const {
  std::vector<geo::XYZPoint> places;
  for (LineOfSight const& line : mLines) {
    places.push_back(line.at(low));
    places.push_back(line.at(std::fmin(high, line.eyeHeight())));
  }
  return places;
}

SeenGround Footprint::between(double low, double high) const {
  LocalMap::Box box{{infinity, infinity, low}, {-infinity, -infinity, high}};
  CellBox cells{{infinity, infinity}, {-infinity, -infinity}};
  std::vector<geo::XYZPoint> positions = places(low, high);
  for (geo::XYZPoint const& position : positions) {
    grow(box.low, box.high, position);
  }
  geo::coordSys::transform(&mLocal, &mSystem, positions.data(), positions.data(), positions.size());
  for (geo::XYZPoint const& position : positions) {
    grow(cells.low, cells.high, mTerrain.cell(position));
  }
  cells.low = {cells.low.x - cellMargin, cells.low.y - cellMargin};
  cells.high = {cells.high.x + cellMargin, cells.high.y + cellMargin};
  return {box, TerrainBounds(mTerrain, cells)};
}

double Footprint::localHeight(double terrainHeight, bool least) const {
  double result = least ? infinity : -infinity;
  std::vector<geo::XYZPoint> positions = places(0.0, infinity);
  geo::coordSys::transform(&mLocal, &mSystem, positions.data(), positions.data(), positions.size());
  for (geo::XYZPoint& position : positions) {
    position.z = terrainHeight;
  }
  geo::coordSys::transform(&mSystem, &mLocal, positions.data(), positions.data(), positions.size());
  for (geo::XYZPoint const& position : positions) {
    result = least ? std::fmin(result, position.z) : std::fmax(result, position.z);
  }
  return result;
}

}  // namespace

// From the eye down, until no terrain below the lines is lower than where they end; then only what stands in their way.
SeenGround SeenGround::of(sensor::KESStripModel const& strip, int band, Terrain const& terrain) {
  Footprint const footprint(strip, band, terrain);
  double low = strip.meanTerrainHeight();
  SeenGround ground = footprint.between(low, infinity);
  for (int pass = 0; pass < passes && !ground.bounds.isEmpty(); ++pass) {
    double const lowest = footprint.localHeight(static_cast<double>(ground.bounds.lowest()), true) - heightMargin;
    if (lowest >= low) {
      break;
    }
    low = lowest - heightMargin;
    ground = footprint.between(low, infinity);
  }
  if (ground.bounds.isEmpty()) {
    return footprint.between(low, low + heightMargin);
  }
  double const highest = footprint.localHeight(static_cast<double>(ground.bounds.highest()), false) + heightMargin;
  return footprint.between(low, std::max(highest, low + heightMargin));
}

BandView::BandView(sensor::KESStripModel const& strip, int band, Terrain const& terrain)
    : mLocal(*strip.lsrSystem()), mTolerance(std::max(static_cast<double>(strip.gsd(band)) / 500.0, 2e-4)),
      mGround(SeenGround::of(strip, band, terrain)), mToTerrain(mapTo(*terrain.source().coordSystem())),
      mSurface(terrain, mToTerrain, mGround.bounds, {mGround.box.low.z, mGround.box.high.z}, mTolerance) {}

LocalMap BandView::mapTo(geo::coordSys const& system) const {
  return {mLocal, system, mGround.box, LocalMap::spacingFor(mTolerance)};
}

}  // namespace simulation
