// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "HeightCutter.h"
#include "SurfaceSource.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace kes::detail {

/// Where lines of sight first meet a surface. For one thread: it keeps the cells that it met last.
///
/// A raster is bilinear between the centres of four cells. On its way a line of sight passes over tiles of eight by
/// eight such patches that are all below it, and over single patches; in the first one that it may meet, the place is
/// the first root of a quadratic equation. Beside cells without a height, where weights are shared, it is sought in
/// steps of a sixteenth of a patch. A line that comes under the surface through a hole, or begins below it, meets
/// nothing.
///
/// On that way the change from the local to the surface's system is a parabola through three positions: it follows the
/// Earth's curvature, and departs from it by far less than a cell. The place that was found is then closed with the
/// change itself, to a tenth of a millimetre of height.
class SurfaceRays {
public:
  /// The caller keeps the surface. `toSurface` converts from the lines' local system to the surface's own.
  SurfaceRays(SurfaceSource const& surface, Converter toSurface);
  ~SurfaceRays();

  struct Hit {
    double depth;
    geo::XYZPoint place;  ///< In the surface's system.
  };
  /// Where the line first meets the surface; nothing where it doesn't. Throws what the raster throws.
  std::optional<Hit> firstHit(LineOfSight const& line);
  void firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends);

private:
  // A position in the raster: x and y in cells, from the centre of the first; z the height.
  using Place = geo::XYZPoint;
  // A straight part of the way, from w = 0 to 1.
  struct Way {
    Place from;
    Place step;
    double at(double w, double Place::*member) const { return from.*member + w * step.*member; }
  };
  struct Span {
    double first;
    double last;
  };
  // What is known of the line where the walk stands.
  enum class Side : unsigned char { unknown, above, under };
  struct Tile;

  std::optional<Hit> hitConstant(LineOfSight const& line);
  std::optional<Hit> hitRaster(LineOfSight const& line);
  Place place(LineOfSight const& line, double depth);
  struct End {
    double depth;
    Place place;
  };
  std::optional<End> endAt(LineOfSight const& line, double height, double depth);
  std::optional<double> walk(Way const& way);
  std::optional<double> walkTile(Way const& way, Span const& span, Tile const& tile);
  std::optional<double> meetPatch(Way const& way, Span const& span, std::array<float, 4> const& corners);
  std::optional<double> meetHole(Way const& way, Span const& span);
  double gap(Way const& way, double w) const;
  double gap(Hit const& hit) const;
  Hit hitAt(LineOfSight const& line, double depth) { return {depth, mToSurface(line.at(depth))}; }
  Hit closed(LineOfSight const& line, double depth, double part);
  Tile const& tile(std::int64_t column, std::int64_t row);

  SurfaceSource const& mSurface;
  Converter mToSurface;
  std::optional<HeightCutter> mCutter;  // for a surface of one height
  double mUnit;                         // of heights, metres
  std::array<double, 6> mGeo{};
  double mTurn = 0.0;  // a full turn of longitude in the raster's unit
  double mMiddle = 0.0;
  double mLowest = 0.0;
  double mHighest = 0.0;
  bool mHasHeights = false;
  Side mSide = Side::unknown;
  std::unique_ptr<Tile[]> mTiles;
};

}  // namespace kes::detail
