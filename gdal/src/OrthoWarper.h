// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoLayout.h"

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace kesgdal {

class ClosureOfPixels;
class OrthoMosaic;

/// The blocks of an image that stay in memory, where no bound asks for less.
inline constexpr std::uint64_t usualImageCache = std::uint64_t{256} << 20U;

/// What all images are warped with.
struct OrthoWork {
  OrthoLayout const& layout;
  kes::CoordinateSystem const& map;
  kes::Surface const& surface;
  int threads;
  std::uint64_t imageCache = usualImageCache;  // bytes
};

/// Other work for the threads that warp, which takes about as long as some boxes.
using SideWork = std::vector<std::function<void()>>;

/// Warps the images that a strip has for the plan's bands into a mosaic: the boxes of `tile`, whose corners are those
/// of boxes, that meet the strip's part of the orthophoto. Adds how well the strip's pixels close there, if the plan
/// wants that. `nextSideWork` is called once for each band. Returns whether any pixel of an image fell on the boxes.
/// Throws what `BoxWarper`, `SourceImage` and the mosaic throw.
bool warpStrip(kes::Strip const& strip, LaidStrip const& laid, PixelBox const& tile, OrthoWork const& work,
               OrthoMosaic& mosaic, ClosureOfPixels& closure, std::function<SideWork()> const& nextSideWork,
               Progress const& progress);

/// The most pixels of a band's image to a pixel of the orthophoto, along a line or across.
double greatestStep(kes::Band const& band, OrthoPlan const& plan);

/// The side of the boxes of an orthophoto, in pixels: a power of two, so that what a box needs of an image stays within
/// some megabytes, however coarse the orthophoto is.
int boxSide(double greatestStep);

inline constexpr int leastBoxSide = 16;  // that of the smallest tile of a TIFF
inline constexpr int greatestBoxSide = 1024;

}  // namespace kesgdal
