// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "points/Residuals.h"
#include "shared/StripSet.h"

#include <kes/Block.h>
#include <sensor/GroundPointList.h>

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// Ground points, and their system if it is given.
struct GroundControl {
  sensor::GroundPointList points;
  std::optional<kes::CoordinateSystem> system;

  /// Where nothing else is given, ground points of a block are on its map, and ground points of a strip in radians.
  kes::CoordinateSystem systemFor(kes::Block const* block) const;
};

/// Where the ground points of a block or a strip are.
struct GroundControlOptions {
  std::string file;    ///< The block or strip.
  std::string points;  ///< A file in place of the block's or the strip's; empty: without one.
  std::string crs;     ///< Their system; empty: see `GroundControl::systemFor`.
};

/// The file that a block would have by default, in the strip's folder or up to two folders above, as image points are
/// found; nothing when there is none.
std::optional<std::string> groundPointFileNear(std::string const& stripFile);

/// Throws std::runtime_error "no control/controls.gpt in the folder of STRIP or above: give --points" and "no ground
/// points in FILE", and what `requireDecimalPoints` and making the system throw.
GroundControl groundControlOf(GroundControlOptions const& options);

/// The residuals of those of a strip's images that have measurements. Throws as `residualsOf`.
std::vector<ImageResiduals> residualsOf(kes::Strip const& strip, std::vector<kes::Band> const& bands,
                                        GroundPointIndex const& points, kes::CoordinateSystem const& system);

}  // namespace tool
