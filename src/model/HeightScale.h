// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <cstddef>

namespace sensor {

/// What the size of a line in the focal plane depends on, beside the height of the ground.
struct HeightScale {
  float pixelSize;
  float terrainHeight;
  float flyingHeight;
  float imageScale;
};

/// Whether all three coordinates are finite.
bool isFinite(geo::XYZPoint const& position);

/// The height that scales the steps of a run: the first one that is finite. Of a run without any, that of its first position.
double heightOfRun(geo::XYZPoint const* ground, std::size_t count);

}  // namespace sensor
