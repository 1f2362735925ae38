#pragma once

#include "BlockWarper.h"
#include "OrthoFile.h"

#include <gdal_priv.h>

#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>

namespace kesgdal {

/// Warps the image of a band into a band of a file, block by block, with the plan's threads. Gives whether any pixel of the
/// image fell on it. Throws what `BlockWarper`, `SourceImage` and the file throw.
bool warpBand(sensor::KESStripModel const& strip, int band, dsm::ProjectedElevationSource& surface,
              OrthoPlan const& plan, OrthoGrid const& grid, OrthoFile& file, int fileBand, Progress const& progress);

/// The side of the blocks of a file, in pixels: a power of two, so that what a block needs of an image stays within some
/// megabytes, however coarse the orthophoto is.
int blockSide(sensor::KESStripModel const& strip, OrthoPlan const& plan);

}  // namespace kesgdal
