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
#include <optional>
#include <vector>

namespace kesgdal {

/// What the copies of a transformer share; nothing in it changes but for the failure.
struct SharedProjection {
  /// Throws as the constructor of `OrthoTransformer`.
  SharedProjection(kes::Band const& ofBand, kes::CoordinateSystem const& ofMap, kes::Surface const& source,
                   GeoTransform const& geoTransform, double around,
                   std::optional<kes::Surface::HeightRange> const& range = {});

  kes::Band band;
  kes::CoordinateSystem map;
  kes::Surface surface;
  mutable FirstFailure failure;
  GeoTransform raster;
  GeoTransform inverse;
  std::optional<kes::Surface::HeightRange> heights;  // between which all of the surface's lie, where that is known
  double margin;
  double width;
  double height;
  StripReach reach;
  SurfacePositions positions;
};

/// A pixel of a row of the raster whose centre is seen on a pixel of the image, at x and y.
struct Sight {
  int column;  // from the row's first
  double x;
  double y;
};

/// Projects between a raster on the map and the image of a band, in GDAL's pixels, for one thread.
class BandProjection {
public:
  /// Positions in the image are divided by the ratios: those of a smaller version of it.
  explicit BandProjection(std::shared_ptr<SharedProjection const> shared, double ratioX = 1.0, double ratioY = 1.0);

  BandProjection similar(double ratioX, double ratioY) const;

  /// Replaces positions; those that have none in the other become HUGE_VAL, with `success` 0.
  void toImage(std::size_t count, double* x, double* y, int* success);
  /// Prepares for the rows of a box: returns false if none of its pixels is seen.
  bool mayBeSeen(PixelBox const& box);
  /// Appends the pixels of a row that are seen in the image, which has its full size.
  void addSights(PixelBox const& row, std::vector<Sight>& sights);
  void toRaster(std::size_t count, double* x, double* y, int* success);

  void rethrowFailure() const { mShared->failure.rethrow(); }

private:
  template <class ToLocal>
  void projectToImage(std::size_t count, double const* x, double const* y, ToLocal const& toLocal);
  void gatherReached();
  void solve();
  void solveRest();
  bool store(geo::XYPoint const& image, double& x, double& y) const;

  std::shared_ptr<SharedProjection const> mShared;
  double mRatioX;
  double mRatioY;
  // Of one call: ground positions, then those within reach, with their indices, and where they are in the image.
  std::vector<double> mColumns;
  std::vector<double> mRows;
  std::vector<geo::XYZPoint> mGround;
  SurfacePositions::Buffers mBuffers;
  std::vector<geo::XYZPoint> mReached;
  std::vector<std::size_t> mIndices;
  bool mHasDeep = false;
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
