// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/kesgdal_export.h>

#include <array>

namespace dsm {
class ProjectedElevationSource;
}

namespace sensor {
class KESStripModel;
}

/// Orthorectification with GDAL.
namespace kesgdal {

/// The map from columns and rows of a raster, counted from the outer corner of the first pixel, to x and y:
/// x = [0] + [1] column + [2] row, y = [3] + [4] column + [5] row.
using GeoTransform = std::array<double, 6>;

/// A transformer for GDAL's warper between the image of a band, as source, and a raster on the map, as destination:
///
///     OrthoTransformer transformer(strip, band, &surface, geoTransform);
///     options->pfnTransformer = OrthoTransformer::transform;
///     options->pTransformerArg = transformer.argument();
///     ... warp ...
///     transformer.rethrowFailure();
///
/// The map is the strip's mapping system (`KESStripModel::setMappingSystem`). The height of a position of the map is that of
/// the surface, whatever system this has. Source positions have the pixel's centre at half a pixel, as is GDAL's custom, where
/// the image positions of `KESStripModel` have whole numbers there.
///
/// From the destination to the source each position is projected by itself: to the surface, to the local system, and by
/// the strip's solver for runs to the image. A row of pixels at a time, as the warper asks, is several times as fast: coordinates
/// on the way to the local system are then good to a tenth of a millimetre. GDAL's approximating transformer doesn't
/// bound its error where the attitude jitters from line to line, so don't put one before it. A position fails where the
/// surface has no height, and outside the image by more than the margin. Whether something stands between a position and the
/// camera isn't asked: ground behind a steep slope gets what the camera saw in front of it.
/// From the source to the destination a line of sight is cut with the surface by `KESStripModel::imageToMap`.
///
/// The margin: GDAL tells from the positions of a sparse grid which part of an image a piece of the destination needs, so
/// those beside the image have to be known, too; the warper itself leaves out what falls on no pixel.
///
/// GDAL makes a copy for each of its threads. Copies share strip and surface, which stay their caller's and unchanged; each has
/// buffers of its own, and allocates nothing once it has seen its longest row. Results don't depend on what a copy did before.
/// It can't be serialized.
class KESGDAL_EXPORT OrthoTransformer {
public:
  static constexpr double DEFAULT_MARGIN = 1024.0;
  /// Destination positions that are x and y of the map, as `GDALSuggestedWarpOutput` wants them.
  static constexpr GeoTransform MAP_ITSELF = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

  /// `margin` in pixels. The strip's data are loaded. Throws std::runtime_error "Can't orthorectify: " and the reason: the band
  /// doesn't exist, the strip isn't loaded, the surface is null, or the raster's map can't be inverted.
  OrthoTransformer(sensor::KESStripModel const& strip, int band, dsm::ProjectedElevationSource* surface,
                   GeoTransform const& raster = MAP_ITSELF, double margin = DEFAULT_MARGIN);
  ~OrthoTransformer();
  OrthoTransformer(OrthoTransformer&& other) noexcept;
  OrthoTransformer& operator=(OrthoTransformer&& other) noexcept;

  /// A transformer of the same kind, for another thread; a failure of one is one of the other.
  OrthoTransformer copy() const;

  /// What GDAL wants beside `transform`. It belongs to this object.
  void* argument() const { return mArgument; }
  /// The same, for an owner such as a warped VRT, that ends it by `GDALDestroyTransformer`. This object is empty then: it may be
  /// destroyed or assigned to.
  void* release();

  /// A `GDALTransformerFunc`. Always gives 1; `success` tells which positions are done, the others are HUGE_VAL. The z
  /// is neither read nor written.
  static int transform(void* argument, int dstToSrc, int count, double* x, double* y, double* z, int* success);

  /// Throws what the surface threw first when it couldn't be read, in this object or a copy of it. All positions fail from
  /// then on, which a warper takes for a hole.
  void rethrowFailure() const;

private:
  explicit OrthoTransformer(void* argument) : mArgument(argument) {}

  void* mArgument;
};

}  // namespace kesgdal
