// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/LocalMap.h>
#include <simulation/Terrain.h>
#include <simulation/TerrainBounds.h>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// What a band of a strip can see of a terrain.
struct SeenGround {
  /// Around all lines of sight, from the lowest to the highest terrain in their way; the strip's local system.
  LocalMap::Box box;
  TerrainBounds bounds;

  /// Heights tell how far lines of sight reach, and how far these reach tells which heights there are: both are found in turn.
  /// The strip's data are loaded. Throws what the terrain's source throws.
  static SeenGround of(sensor::KESStripModel const& strip, int band, Terrain const& terrain);
};

}  // namespace simulation
