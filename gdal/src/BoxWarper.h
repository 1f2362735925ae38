// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BandProjection.h"
#include "PixelBox.h"
#include "SourceImage.h"

#include <kes/Band.h>
#include <kesgdal/OrthoPlan.h>

#include <gdalwarper.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kesgdal {

/// How an image is warped, the same for all of its boxes.
struct WarpSetup {
  /// Steps from a pixel of the orthophoto to the next, in samples and in lines of the image.
  double samplesPerPixel;
  double linesPerPixel;
  Resampling resampling;
  GDALDataType type;
  double noData;
  bool withDistances;

  WarpSetup(kes::Band const& band, OrthoPlan const& plan, GDALDataType type, bool withDistances);
  double greatestStep() const;
  /// Pixels beside the image in which positions are known, so that a sparse grid of them shows what a box needs.
  double margin() const;
};

/// Warps boxes of one band, on one thread.
class BoxWarper {
public:
  BoxWarper(WarpSetup const& setup, SourceImage image, BandProjection projection);

  /// Fills `warped` with a box; false when no pixel of the image falls on it, which leaves the pixels as they are.
  /// Throws what GDAL reports, and what the surface threw.
  bool warp(PixelBox const& box, WarpedPixels& warped);

private:
  struct Window;
  PixelRange needed(PixelBox const& box);
  void scan(PixelBox const& box, int step, PixelRange& range);
  Window windowAround(PixelRange const& range, double around) const;
  void warp(PixelBox const& box, Window const& window, WarpedPixels& warped);
  void takeOutHoles(WarpedPixels& warped);
  void initialize();

  WarpSetup mSetup;
  SourceImage mImage;
  std::unique_ptr<Transformer> mTransformer;
  GDALWarpOperation mOperation;
  std::vector<double> mX;
  std::vector<double> mY;
  std::vector<int> mSuccess;
  std::vector<double> mValues;
};

}  // namespace kesgdal
