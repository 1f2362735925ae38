// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Block.h"

#include <kesgdal/Orthophoto.h>

namespace dsm {
class ProjectedElevationSource;
}

namespace kesgdal {

class OrthoMosaic;

/// What all images are warped with, and into.
struct OrthoWork {
  OrthoPlan const& plan;
  dsm::ProjectedElevationSource const& surface;
  OrthoMosaic& mosaic;
};

/// Warps the image of a band into a band of the mosaic, counted from 1, by all blocks that meet a part of it, with the plan's
/// threads. Gives whether any pixel of the image fell on them. Throws what `BlockWarper`, `SourceImage` and the mosaic throw.
bool warpBand(sensor::KESStripModel const& strip, int band, OrthoWork const& work, Block const& part, int mosaicBand,
              Progress const& progress);

/// The side of the blocks of an orthophoto, in pixels: a power of two, so that what a block needs of an image of the band stays
/// within some megabytes, however coarse the orthophoto is.
int blockSide(sensor::KESStripModel const& strip, int band, OrthoPlan const& plan);

}  // namespace kesgdal
