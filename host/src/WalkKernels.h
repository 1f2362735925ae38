// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LineOfSight.h"
#include "RasterTiles.h"

#include <geo/XYZPoint.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Where lines of sight first meet a raster in the lanes of the processor's widest vectors. What isn't simple is left to
// `SurfaceRays` and `RasterWalk`, whose bits the lanes return.
namespace kes::detail {

/// Of vectors, on every processor.
inline constexpr std::size_t mostLanes = 16;

/// A raster and what bounds the search for its surface.
struct SightFrame {
  std::array<double, 6> geo{};      ///< From columns and rows to positions.
  std::array<double, 4> inverse{};  ///< Back.
  double turn = 0.0;                ///< Of longitude, in the unit of x.
  double middle = 0.0;              ///< x.
  double lowest = 0.0;              ///< Heights between which the surface lies, with a margin.
  double highest = 0.0;
  double clearance = 0.0;  ///< Of heights, beyond those near a path.
  double unit = 1.0;       ///< Of heights, metres.
  double origin = 0.0;     ///< The height of the local system's origin, metres.

  static constexpr double depthMargin = 64.0;            ///< Metres beyond what is guessed.
  static constexpr double bend = 1e-3;                   ///< Cells, and metres, that a chord may depart.
  static constexpr double shortestChord = 1.0 / 4096.0;  ///< Of a whole path.
  static constexpr int mostNarrowings = 6;
  static constexpr double fewMeshes = 2.0;  ///< Are walked as they are.
  static constexpr double mostStep = 0.1;   ///< Metres of depth from a chord to its parabola.
  static constexpr double closed = 1e-4;    ///< Metres.
};

/// Lines of sight, and three places on each.
struct SightsToSound {
  LineOfSight const* lines;
  std::size_t count;
  double* begins;         ///< Depths of the first places.
  double* lengths;        ///< To the last places.
  geo::XYZPoint* places;  ///< First those above the raster's heights, then those amid, then those below.
};

/// Guesses three places on each line in the local system.
void soundInLanes(SightFrame const& frame, SightsToSound const& run);

/// What lines of sight meet, one after the other in each of the arrays, which have room for all lines and `mostLanes`
/// more.
struct SightMeetings {
  enum Field : std::size_t {
    depth,
    part,  ///< Depth of the straight part that it is on.
    slopeX,
    slopeY,
    slopeZ,  ///< By depth.
    column,
    row,
    first,
    right,
    down,
    twist,  ///< Of the patch in that mesh.
    fieldCount
  };
  std::array<double*, fieldCount> fields;
  std::uint32_t* lines;
  geo::XYZPoint* places;  ///< In the local system.
  std::size_t size = 0;
};

/// Walks lines, with their places in the raster's system, to where they meet the surface. Returns how many it leaves,
/// whose indices `rest` lists. Throws what the raster throws.
std::size_t walkInLanes(SightFrame const& frame, RasterTiles& tiles, SightsToSound const& run, SightMeetings& meetings,
                        std::uint32_t* rest);

/// Closes what was met, with places in the raster's system. Returns how many meetings it leaves, whose indices `rest`
/// lists.
std::size_t closeInLanes(SightFrame const& frame, SightMeetings const& meetings, SightEnd* ends, std::uint32_t* rest);

}  // namespace kes::detail
