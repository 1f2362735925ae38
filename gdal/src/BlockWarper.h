#pragma once

#include "SourceImage.h"
#include "Transformer.h"

#include <gdalwarper.h>

#include <cstddef>
#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>
#include <memory>
#include <vector>

namespace kesgdal {

/// A part of the orthophoto, in its pixels.
struct Block {
  int left;
  int top;
  int columns;
  int rows;
};

/// How an image is warped, the same for all of its blocks.
struct WarpSetup {
  /// Steps from a pixel of the orthophoto to the next, in samples and in lines of the image.
  double samplesPerPixel;
  double linesPerPixel;
  Resampling resampling;
  GDALDataType type;
  double noData;

  WarpSetup(sensor::KESStripModel const& strip, int band, OrthoPlan const& plan, GDALDataType type);
  double greatestStep() const;
  /// Pixels beside the image in which positions are known, so that a sparse grid of them tells what a block needs.
  double margin() const;
};

/// Warps blocks of one band, on one thread.
class BlockWarper {
public:
  BlockWarper(WarpSetup const& setup, SourceImage image, BandProjection projection);

  /// Fills `pixels` with a block, row by row; false when no pixel of the image falls on it, which leaves `pixels` as they
  /// are. Throws what GDAL reports, and what the surface threw.
  bool warp(Block const& block, std::vector<std::byte>& pixels);

private:
  struct Window;
  PixelRange needed(Block const& block);
  void scan(Block const& block, int step, PixelRange& range);
  Window windowAround(PixelRange const& range, double around) const;
  void warp(Block const& block, Window const& window, std::vector<std::byte>& pixels);
  void initialize();

  WarpSetup mSetup;
  SourceImage mImage;
  std::unique_ptr<Transformer> mTransformer;
  GDALWarpOperation mOperation;
  std::vector<double> mX;
  std::vector<double> mY;
  std::vector<int> mSuccess;
};

}  // namespace kesgdal
