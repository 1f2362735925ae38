// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <simulation/LocalMap.h>
#include <simulation/ScanLine.h>
#include <simulation/Terrain.h>
#include <simulation/TerrainBounds.h>

namespace simulation {

/// The terrain as a camera above it sees it: where a line of sight first meets the surface. All z are those of the
/// local system, in metres. Any number of threads may ask one surface.
///
/// A guess is improved by the secant method until the position is within the tolerance of the surface. The line above
/// must then be free, as it is wherever bounds of the terrain say so: the surface is lower there, or rises less steeply
/// than the line. Where they don't, the line is walked down from its top in steps that the bounds allow, too short to
/// pass through the surface. Beside cells without a height steps are a quarter of a cell, elsewhere at least a
/// thousandth: what reaches into the line by less may be missed.
class VisibleSurface {
public:
  /// Lines are followed between `bottom` and `top`, which no terrain exceeds.
  struct Range {
    double bottom;
    double top;
  };
  /// `tolerance` in metres of height. The caller keeps the terrain, the map from the local system to that of the
  /// terrain's source, and the bounds.
  VisibleSurface(Terrain const& terrain, LocalMap const& toTerrain, TerrainBounds const& bounds, Range const& range,
                 double tolerance);

  /// The z at which the line first meets the surface; the result for a neighbour makes a good guess. NaN where the line
  /// meets none, begins below the surface, or comes under it through a hole. Throws what the terrain's source throws.
  double meet(LineOfSight const& line, double guess) const;

private:
  // A place on a line: its z, and its height and cell in the terrain's system.
  struct Place {
    double z;
    double height;
    geo::XYPoint cell;
  };
  // The line between two places, and the terrain along it.
  struct Part {
    Place upper;
    Place lower;
    TerrainBounds::Bound bound;

    double descent() const { return upper.height - lower.height; }
    double cells() const;
    double greatestRise() const;
    bool isAboveTerrain() const { return static_cast<double>(bound.highest) < lower.height; }
  };

  Place place(LineOfSight const& line, double z) const;
  double top(LineOfSight const& line) const;
  Part part(Place const& upper, Place const& lower, int i, int count) const;
  static int partCount(Place const& upper, Place const& lower);

  double gap(LineOfSight const& line, double z) const;
  double approach(LineOfSight const& line, double guess) const;
  bool isFree(LineOfSight const& line, double z) const;
  double search(LineOfSight const& line) const;
  double step(Part const& part, double gap) const;
  double halved(LineOfSight const& line, double above, double below) const;

  Terrain const& mTerrain;
  LocalMap const& mToTerrain;
  TerrainBounds const& mBounds;
  Range mRange;
  double mTolerance;
  double mUnit;  // of the terrain's heights, metres
};

}  // namespace simulation
