// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/units.h>
#include <simulation/VisibleSurface.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulation {

namespace {

constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
constexpr int secantPasses = 12;
constexpr int halvings = 60;
constexpr double leastStep = 1e-3;         // cells
constexpr double leastStepAtHoles = 0.25;  // cells

double between(double a, double b, double w) {
  return a + (b - a) * w;
}

}  // namespace

VisibleSurface::VisibleSurface(Terrain const& terrain, LocalMap const& toTerrain, TerrainBounds const& bounds,
                               Range const& range, double tolerance)
    : mTerrain(terrain), mToTerrain(toTerrain), mBounds(bounds), mRange(range), mTolerance(tolerance),
      mUnit(terrain.source().coordSystem()->verticalUnits().getScale()) {}

double VisibleSurface::meet(LineOfSight const& line, double guess) const {
  double const z = approach(line, guess);
  return isFree(line, z) ? z : search(line);
}

// Metres above the surface, in the direction of the terrain's heights; NaN where there is none.
double VisibleSurface::gap(LineOfSight const& line, double z) const {
  geo::XYZPoint const position = mToTerrain.at(line.at(z));
  float height = 0.0F;
  return mTerrain.source().height(position, height) ? (position.z - static_cast<double>(height)) * mUnit : nowhere;
}

// The secant method: a first step as over level ground, then by the two last places.
double VisibleSurface::approach(LineOfSight const& line, double guess) const {
  double z0 = guess;
  double gap0 = gap(line, z0);
  double step = -gap0;
  for (int pass = 0; pass < secantPasses && std::fabs(gap0) > mTolerance; ++pass) {
    double const z1 = z0 + step;
    double const gap1 = gap(line, z1);
    step = -gap1 * (z1 - z0) / (gap1 - gap0);
    z0 = z1;
    gap0 = gap1;
  }
  return std::fabs(gap0) <= mTolerance ? z0 : nowhere;
}

double VisibleSurface::top(LineOfSight const& line) const {
  return std::fmin(mRange.top, line.eyeHeight());
}

VisibleSurface::Place VisibleSurface::place(LineOfSight const& line, double z) const {
  geo::XYZPoint const position = mToTerrain.at(line.at(z));
  return {z, position.z, mTerrain.cell(position)};
}

int VisibleSurface::partCount(Place const& upper, Place const& lower) {
  constexpr double most = 1e6;
  double const tiles = Part{upper, lower, {}}.cells() / TerrainBounds::tileSize;
  return static_cast<int>(std::fmin(std::fmax(std::ceil(tiles), 1.0), most));
}

// Part number i of `count`, from above. A line is straight in the terrain's system, too, as far as a map of it shows.
VisibleSurface::Part VisibleSurface::part(Place const& upper, Place const& lower, int i, int count) const {
  auto const at = [&](int number) {
    double const w = static_cast<double>(number) / count;
    return Place{between(upper.z, lower.z, w),
                 between(upper.height, lower.height, w),
                 {between(upper.cell.x, lower.cell.x, w), between(upper.cell.y, lower.cell.y, w)}};
  };
  Part part{at(i), at(i + 1), {}};
  geo::XYPoint const& a = part.upper.cell;
  geo::XYPoint const& b = part.lower.cell;
  part.bound = mBounds.over({{std::fmin(a.x, b.x), std::fmin(a.y, b.y)}, {std::fmax(a.x, b.x), std::fmax(a.y, b.y)}});
  return part;
}

double VisibleSurface::Part::cells() const {
  return std::fmax(std::fabs(upper.cell.x - lower.cell.x), std::fabs(upper.cell.y - lower.cell.y));
}

// How much the surface can rise below the line, from its one end to the other.
double VisibleSurface::Part::greatestRise() const {
  return static_cast<double>(bound.perColumn) * std::fabs(upper.cell.x - lower.cell.x) +
         static_cast<double>(bound.perRow) * std::fabs(upper.cell.y - lower.cell.y);
}

// From a place on the surface up: a surface that rises less than the line stays below it.
bool VisibleSurface::isFree(LineOfSight const& line, double z) const {
  if (!(z < line.eyeHeight())) {
    return false;
  }
  Place const upper = place(line, std::fmax(top(line), z));
  Place const lower = place(line, z);
  int const count = partCount(upper, lower);
  for (int i = 0; i < count; ++i) {
    Part const p = part(upper, lower, i, count);
    if (!p.isAboveTerrain() && !(p.greatestRise() <= p.descent())) {
      return false;
    }
  }
  return true;
}

double VisibleSurface::search(LineOfSight const& line) const {
  Place const upper = place(line, top(line));
  Place const lower = place(line, mRange.bottom);
  int const count = partCount(upper, lower);
  double above = nowhere;  // the last z that is known to be above the surface
  for (int i = 0; i < count; ++i) {
    Part const p = part(upper, lower, i, count);
    if (p.isAboveTerrain()) {
      above = p.lower.z;
      continue;
    }
    double z = p.upper.z;
    while (z > p.lower.z) {
      double const height = gap(line, z);
      if (height <= mTolerance) {
        return height >= -mTolerance ? z : halved(line, above, z);
      }
      above = std::isnan(height) ? nowhere : z;
      z -= step(p, height);
    }
  }
  return nowhere;
}

// How far down, in z, the surface surely isn't met; a little more where that is next to nothing.
double VisibleSurface::step(Part const& part, double gap) const {
  double const length = part.upper.z - part.lower.z;
  bool const atHole = part.bound.perColumn >= TerrainBounds::unknown || part.bound.perRow >= TerrainBounds::unknown;
  double const least = (atHole ? leastStepAtHoles : leastStep) * length / part.cells();
  if (std::isnan(gap)) {
    return std::fmax(least, mTolerance);
  }
  double const safe = gap * length / (mUnit * (part.descent() + part.greatestRise()));
  double const overLevelGround = gap * length / (mUnit * part.descent());
  return std::fmax(std::fmax(safe, std::fmin(least, overLevelGround)), mTolerance);
}

// Between a z above the surface and one below it. The edge of a hole isn't on the surface.
double VisibleSurface::halved(LineOfSight const& line, double above, double below) const {
  for (int i = 0; i < halvings; ++i) {
    double const z = between(above, below, 0.5);
    double const height = gap(line, z);
    if (std::fabs(height) <= mTolerance) {
      return z;
    }
    (height < 0.0 ? below : above) = z;
  }
  return nowhere;
}

}  // namespace simulation
