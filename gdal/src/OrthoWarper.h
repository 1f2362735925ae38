// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "PixelBox.h"

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

namespace kesgdal {

class CutPolygons;
class OrthoMosaic;

/// What all images are warped with, and into.
struct OrthoWork {
  OrthoPlan const& plan;
  kes::CoordinateSystem const& map;
  kes::Surface const& surface;
  OrthoMosaic& mosaic;
  CutPolygons const* cut;  // null for none
};

/// Warps the image of a band into a band of the mosaic, counted from 1, by all boxes that meet a part of it, with the
/// plan's threads. Returns whether any pixel of the image fell on them. Throws what `BoxWarper`, `SourceImage` and the
/// mosaic throw.
bool warpBand(kes::Band const& band, OrthoWork const& work, PixelBox const& part, int mosaicBand,
              Progress const& progress);

/// The side of the boxes of an orthophoto, in pixels: a power of two, so that what a box needs of an image of the band
/// stays within some megabytes, however coarse the orthophoto is.
int boxSide(kes::Band const& band, OrthoPlan const& plan);

}  // namespace kesgdal
