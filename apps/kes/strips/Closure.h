// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <kes/Projection.h>

#include <cstddef>
#include <optional>
#include <string>

namespace kes {
class Band;
class Strip;
}  // namespace kes

namespace tool {

/// Samples and lines. The library's forms stop within 0.05 lines; where the number of TDI stages changes, the image
/// itself steps by as much.
constexpr double closureTolerance = 0.1;

/// Largest, mean, and 95 % of the magnitudes of numbers; a number that isn't finite counts as infinite.
struct Spread {
  double max = 0.0;
  double mean = 0.0;
  double p95 = 0.0;
};

/// How well image points, projected to the ground and back, meet themselves.
struct BandClosure {
  std::string id;
  std::size_t points;
  Spread samples;
  Spread lines;
  Spread metres;
  std::optional<Spread> passes;  ///< The library's forms for runs and in lanes don't state them.
  double pointsPerSecond;

  bool closes() const { return samples.max <= closureTolerance && lines.max <= closureTolerance; }
};

/// Image points on which the closure is measured, and how they are projected.
struct ClosureGrid {
  kes::Solver solver = kes::Solver::precise;
  int points = 50;  ///< Along and across an image.
};

/// Projects a grid of image points to the ground at four heights, and back.
BandClosure closureOf(kes::Strip const& strip, kes::Band const& band, ClosureGrid const& grid);

Json toJson(BandClosure const& band);

}  // namespace tool
