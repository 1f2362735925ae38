// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BulkConversion.h"
#include "HeightCutter.h"
#include "LineOfSight.h"
#include "RasterWalk.h"
#include "SightFormulas.h"
#include "SurfaceSource.h"
#include "WalkKernels.h"

#include <geo/XYZPoint.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kes::detail {

/// Where lines of sight first meet a surface, many together; for one thread. What a line comes to depends on it alone.
///
/// On its way over a raster, the change of a line from the local to the surface's system is a parabola through three
/// positions: it follows the Earth's curvature, and departs from it by far less than a cell. `RasterWalk` goes along it
/// in straight parts. The place that was found is then closed with the change itself, to a tenth of a millimetre of
/// height. Lines that need nothing else go this way in lanes, the others one after the other, with the same bits.
class SurfaceRays {
public:
  /// The caller keeps the surface. `toSurface` converts from the lines' local system to the surface's own.
  SurfaceRays(SurfaceSource const& surface, Converter toSurface);

  /// With places in the surface's system; `noSurface` where a line meets nothing. Throws what the raster throws.
  void firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends);

private:
  /// What may meet the surface goes from `first` to `last`.
  struct Path : ParabolaOf<double, MeshPoint> {
    double begin = 0.0;  // depths
    double length = 0.0;
    double first = 1.0;
    double last = 0.0;
  };
  struct Depths {
    double begin;
    double length;
  };
  /// What the walk found.
  struct Hit {
    std::size_t line = 0;
    double depth = 0.0;
    double part = 0.0;  // depth of the straight part that it is on
    MeshPoint slope;    // by depth
    RasterWalk::Meeting meeting;
  };

  void meetInLanes(std::span<LineOfSight const> lines, std::span<SightEnd> ends);
  void meetSingly(std::span<LineOfSight const> lines, std::span<SightEnd> ends);
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
  SightFrame mFrame;
  bool mHasHeights = false;
  // Of a call.
  std::vector<double> mHeights;
  std::vector<double> mBegins;
  std::vector<double> mLengths;
  std::vector<geo::XYZPoint> mPlaces;
  std::vector<std::uint32_t> mRest;
  // What lanes meet.
  std::array<std::vector<double>, SightMeetings::fieldCount> mFields;
  std::vector<std::uint32_t> mMeetingLines;
  std::vector<geo::XYZPoint> mMeetingPlaces;
  std::vector<std::uint32_t> mOpenMeetings;
  // What is met otherwise.
  std::vector<Hit> mHits;
};

}  // namespace kes::detail
