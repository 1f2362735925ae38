// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BandProjection.h"
#include "CutPolygons.h"
#include "PixelBox.h"
#include "PixelEncoder.h"
#include "Resampler.h"
#include "SourceTiles.h"

#include <kes/Band.h>
#include <kesgdal/OrthoPlan.h>

#include <cstddef>
#include <optional>
#include <span>
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
  std::optional<BrightnessRange> scale;
  bool withDistances;
  /// Outside of which there are no data; null for no limit.
  CutPolygons const* cut = nullptr;
  GeoTransform place{};  ///< Of the orthophoto; for `cut`.

  WarpSetup(kes::Band const& band, OrthoPlan const& plan, GDALDataType type, bool withDistances);
  double greatestStep() const;
};

/// A part of an image, from the outer corner of its first pixel on.
struct PixelRange {
  double left;
  double top;
  double right;
  double bottom;

  static PixelRange nothing();
  bool isEmpty() const { return !(left <= right); }
  bool isSmall() const { return right - left <= 1.0 && bottom - top <= 1.0; }
  void add(double x, double y);
};

/// Warps boxes of one band, on one thread: piece by piece of some thousand pixels, whose positions are all known before
/// the part of the image is read in which they lie.
///
/// Memory: 8 bytes to a pixel of a box, and the part of the image that is read at once: 8 MiB, or what one pixel of the
/// orthophoto needs when it is more than 256 of the image wide, at the most 128 MiB.
class BoxWarper {
public:
  BoxWarper(WarpSetup const& setup, SourceTiles& image, BandProjection projection);

  /// Fills `warped` with a box; false when no pixel of the image falls on it, which leaves the pixels as they are.
  /// Throws what GDAL reports, and what the surface threw.
  bool warp(PixelBox const& box, WarpedPixels& warped);

private:
  /// Of a row of a box: its first pixel there, and the sights that weren't resampled yet.
  struct Row {
    std::size_t firstPixel;
    std::size_t next;
    std::size_t end;
  };
  /// A pixel of a box, and where it is seen in the image.
  struct SeenPixel {
    std::size_t index;
    double x;
    double y;
  };

  void project(PixelBox const& box, int top, int rows);
  void gatherPiece(int right);
  void resample(std::span<SeenPixel> pixels, WarpedPixels& warped);
  void resample(SeenPixel const& pixel, WarpedPixels& warped);
  ImageBox windowAround(PixelRange const& range) const;

  WarpSetup mSetup;
  SourceTiles& mImage;
  BandProjection mProjection;
  Resampler mResampler;
  PixelEncoder mEncoder;
  ImageWindow mWindow;
  // Of the rows of a box that are worked on.
  std::vector<Sight> mSights;
  std::vector<Row> mRows;
  std::vector<SeenPixel> mPiece;
  std::vector<bool> mInside;    // of a box, its pixels inside the cut; empty without one
  std::vector<double> mValues;  // of a box
};

}  // namespace kesgdal
