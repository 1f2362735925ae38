// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Block.h"
#include "SourceImage.h"
#include "Transformer.h"

#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>

#include <gdalwarper.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kesgdal {

/// How an image is warped, the same for all of its blocks.
struct WarpSetup {
  /// Steps from a pixel of the orthophoto to the next, in samples and in lines of the image.
  double samplesPerPixel;
  double linesPerPixel;
  Resampling resampling;
  GDALDataType type;
  double noData;
  bool withDistances;

  WarpSetup(sensor::KESStripModel const& strip, int band, OrthoPlan const& plan, GDALDataType type, bool withDistances);
  double greatestStep() const;
  /// Pixels beside the image in which positions are known, so that a sparse grid of them tells what a block needs.
  double margin() const;
};

/// Warps blocks of one band, on one thread.
class BlockWarper {
public:
  BlockWarper(WarpSetup const& setup, SourceImage image, BandProjection projection);

  /// Fills `warped` with a block; false when no pixel of the image falls on it, which leaves the pixels as they are. Throws
  /// what GDAL reports, and what the surface threw.
  bool warp(Block const& block, WarpedBlock& warped);

private:
  struct Window;
  PixelRange needed(Block const& block);
  void scan(Block const& block, int step, PixelRange& range);
  Window windowAround(PixelRange const& range, double around) const;
  void warp(Block const& block, Window const& window, WarpedBlock& warped);
  void takeOutHoles(WarpedBlock& warped);
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
