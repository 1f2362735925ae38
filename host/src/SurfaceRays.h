// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"
#include "HeightCutter.h"
#include "LineOfSight.h"
#include "RasterWalk.h"
#include "SurfaceSource.h"

#include <geo/XYZPoint.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace kes::detail {

/// Where lines of sight first meet a surface, many together; for one thread. What a line comes to depends on it alone.
///
/// On its way over a raster, the change of a line from the local to the surface's system is a parabola through three
/// positions: it follows the Earth's curvature, and departs from it by far less than a cell. `RasterWalk` goes along it
/// in straight parts. The place that was found is then closed with the change itself, to a tenth of a millimetre of
/// height.
class SurfaceRays {
public:
  /// The caller keeps the surface. `toSurface` converts from the lines' local system to the surface's own.
  SurfaceRays(SurfaceSource const& surface, Converter toSurface);

  /// With places in the surface's system; `noSurface` where a line meets nothing. Throws what the raster throws.
  void firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends);

private:
  /// Depths above, within and below the heights of the raster.
  using Depths = std::array<double, 3>;
  /// A part of a line of sight, p(w) = from + w linear + w² bend, with w proportional to the depth; what may meet the
  /// surface goes from `first` to `last`.
  struct Path {
    double begin = 0.0;  // depths
    double length = 0.0;
    MeshPoint from;
    MeshPoint linear;
    MeshPoint bend;
    double perLinear = 0.0;  // of the height
    double first = 1.0;
    double last = 0.0;
    MeshPoint at(double w) const;
    MeshPoint slope(double w) const;
    double heightAt(double w) const { return from.z + w * (linear.z + w * bend.z); }
    /// Where it has a height, near the place that its chord has it.
    double partAt(double height) const;
  };
  /// What the walk found.
  struct Hit {
    std::size_t line = 0;
    double depth = 0.0;
    double part = 0.0;  // depth of the straight part that it is on
    MeshPoint slope;    // by depth
    RasterWalk::Meeting meeting;
  };

  Depths depths(LineOfSight const& line) const;
  void setPath(Depths const& depths, geo::XYZPoint const& top, geo::XYZPoint const& middle, geo::XYZPoint const& bottom,
               Path& path) const;
  void cut(LineOfSight const& line, Path& path);
  void narrow(Path& path);
  bool walk(Path const& path, Hit& hit);
  static void setHit(Path const& path, double first, double last, Hit& hit);
  void close(LineOfSight const& line, Hit const& hit, geo::XYZPoint const& place, SightEnd& end);
  SightEnd closedBySecants(LineOfSight const& line, double depth, double part);
  double nearest(double x, double middle) const;
  MeshPoint meshPoint(geo::XYZPoint const& position, double middle) const;
  SightEnd endAt(LineOfSight const& line, double depth) { return {depth, mToSurface(line.at(depth)), Status::ok}; }
  double gap(SightEnd const& end) const;

  SurfaceSource const& mSurface;
  Converter mToSurface;
  HeightCutter mCutter;
  std::optional<RasterWalk> mWalk;
  double mUnit;  // of heights, metres
  // From columns and rows, and back.
  std::array<double, 6> mGeo{};
  std::array<double, 4> mInverse{};
  double mTurn = 0.0;  // a full turn of longitude in the raster's unit
  double mMiddle = 0.0;
  double mLowest = 0.0;
  double mHighest = 0.0;
  double mClearance = 0.0;
  bool mHasHeights = false;
  // Of a call.
  std::vector<double> mHeights;
  std::vector<Depths> mDepths;
  std::vector<geo::XYZPoint> mPlaces;
  std::vector<Path> mPaths;
  std::vector<Hit> mHits;
};

}  // namespace kes::detail
