// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/ElevationModel.h"
#include "shared/Options.h"

#include <string>

namespace tool {

/// What a block is drawn from.
struct GisPlan {
  CameraOptions camera;
  OrientationOption orientation;
  ElevationModelOptions dem;    ///< Without a file, the first one that the block names.
  std::string crs;              ///< Empty for that of the block's maps.
  double exaggeration = 500.0;  ///< Of residual vectors.
};

/// Writes a GeoPackage with the block's footprints, flight lines and ground points, and the residuals of their
/// measurements as vectors on the ground, each a layer with a style of QGIS. Throws what opening block, strips and
/// elevation model throws, "FILE names no elevation model: give --dem", and what `writeLayers` throws.
void writeBlockGis(std::string const& blockFile, std::string const& output, GisPlan const& plan);

}  // namespace tool
