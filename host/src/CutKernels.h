// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LineOfSight.h"

#include <geo/XYZPoint.h>

#include <cstddef>
#include <cstdint>

namespace kes::detail {

/// Lines of sight to cut at heights of a system, with room for what two cuts find. Between the steps below, the caller
/// converts `places` to the system.
struct CutRun {
  LineOfSight const* lines;
  double const* heights;  ///< One for each line, finite.
  std::size_t count;
  double unit;    ///< Of heights, metres.
  double origin;  ///< The height of the local system's origin, metres.
  double* firstDepths;
  double* depths;
  geo::XYZPoint* firstPlaces;
  geo::XYZPoint* places;
  SightEnd* cuts;
  std::uint32_t* rest;  ///< Room for `count` indices.
};

/// The first cut: places in the local system.
void guessCuts(CutRun const& run);
/// From the first cuts in the system to the second ones in the local system.
void improveCuts(CutRun const& run);
/// From the second cuts in the system to the ends of the lines. Returns how many it leaves, whose indices `rest` lists:
/// what needs more cuts or fewer, and what has no end in front of the eye.
std::size_t finishCuts(CutRun const& run);

}  // namespace kes::detail
