// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "FirstFailure.h"
#include "PixelBox.h"
#include "StripReach.h"
#include "SurfacePositions.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Band.h>
#include <kesgdal/GeoTransform.h>

#include <gdal_alg.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kesgdal {

/// Pixels of an image: positions from the outer corner of the first one on.
struct PixelRange {
  double left;
  double top;
  double right;
  double bottom;

  static PixelRange nothing();
  bool isEmpty() const { return !(left <= right); }
  void add(double x, double y);
};

/// What the copies of a transformer share; nothing in it changes but for the failure.
struct SharedProjection {
  /// Throws as the constructor of `OrthoTransformer`.
  SharedProjection(kes::Band const& ofBand, kes::CoordinateSystem const& ofMap, kes::Surface const& source,
                   GeoTransform const& geoTransform, double around);

  kes::Band band;
  kes::CoordinateSystem map;
  kes::Surface surface;
  mutable FirstFailure failure;
  GeoTransform raster;
  GeoTransform inverse;
  double margin;
  double width;
  double height;
  StripReach reach;
  SurfacePositions positions;
};

/// Projects between a raster on the map and the image of a band, in GDAL's pixels, for one thread.
class BandProjection {
public:
  /// Positions in the image are divided by the ratios: those of a smaller version of it.
  explicit BandProjection(std::shared_ptr<SharedProjection const> shared, double ratioX = 1.0, double ratioY = 1.0);

  BandProjection similar(double ratioX, double ratioY) const;

  /// Replaces positions; those that have none in the other become HUGE_VAL, with `success` 0.
  void toImage(std::size_t count, double* x, double* y, int* success);
  void toRaster(std::size_t count, double* x, double* y, int* success);

  void rethrowFailure() const { mShared->failure.rethrow(); }
  /// Around all that `toImage` found on the image's pixels since the range was last forgotten.
  PixelRange const& seen() const { return mSeen; }
  void forgetSeen() { mSeen = PixelRange::nothing(); }
  /// How many positions `toImage` was asked for so far where the surface has no height.
  std::size_t holes() const { return mHoles; }
  /// For each pixel of a box that is projected row by row: how far from the middle of the image's line it was found, in
  /// samples; infinity where it has no place in the image. Kept from now on until `distances` is null.
  void keepDistances(PixelBox const& box, std::vector<float>* distances);

private:
  void projectToImage(std::size_t count, double const* x, double const* y);
  void gatherReached();
  void solve();
  bool store(geo::XYPoint const& image, double& x, double& y);
  void keepRow(double column, double row, std::size_t count, double const* imageX, int const* success);

  std::shared_ptr<SharedProjection const> mShared;
  double mRatioX;
  double mRatioY;
  PixelRange mSeen = PixelRange::nothing();
  std::size_t mHoles = 0;
  std::vector<float>* mDistances = nullptr;
  PixelBox mBox{};
  // Of one call: ground positions, then those within reach, with their indices, and where they are in the image.
  std::vector<geo::XYZPoint> mGround;
  SurfacePositions::Buffers mBuffers;
  std::vector<geo::XYZPoint> mReached;
  std::vector<std::size_t> mIndices;
  std::vector<geo::XYPoint> mImage;
  std::vector<kes::Status> mStatus;
};

/// What the pointers point at that GDAL holds: its own description comes first.
struct Transformer {
  GDALTransformerInfo info;
  BandProjection projection;
};

std::unique_ptr<Transformer> makeTransformer(BandProjection projection);

}  // namespace kesgdal
