// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <kesgdal/GeoTransform.h>
#include <kesgdal/kesgdal_export.h>

namespace kesgdal {

/// A transformer for GDAL's warper between the image of a band, as source, and a raster on the map, as destination:
///
///     OrthoTransformer transformer(band, map, surface, geoTransform);
///     options->pfnTransformer = OrthoTransformer::transform;
///     options->pTransformerArg = transformer.argument();
///     ... warp ...
///     transformer.rethrowFailure();
///
/// The height of a position of the map is that of the surface, whatever system this has. Source positions have the
/// pixel's centre at half a pixel, as is GDAL's custom, where the image positions of `kes::Band` have whole numbers
/// there.
///
/// From the destination to the source each position is projected alone: to the surface, to the local system, and
/// precisely to the image (`kes::Solver::precise`); lines beyond `kes::Band::lineMargin`, and positions farther below
/// the mean terrain than the flight is above it, by the library's form for single positions. Rows of pixels, as the
/// warper asks for them, are several times as fast: coordinates on the way to the local system are then good to a tenth
/// of a millimetre. GDAL's approximating transformer doesn't bound its error where the attitude jitters from line to
/// line, so don't put one before it. A position fails where the surface has no height, and outside the image by more
/// than the margin. Whether something stands between a position and the camera isn't asked: ground behind a steep slope
/// gets what the camera saw in front of it. From the source to the destination a line of sight is cut with the surface,
/// as by `kes::Solver::libraryPoint`, up to `kes::Band::lineMargin` lines outside the image.
///
/// The margin: GDAL finds from the positions of a sparse grid which part of an image a piece of the destination needs,
/// so those beside the image have to be known, too; the warper itself leaves out what falls on no pixel.
///
/// GDAL makes a copy for each of its threads. Copies share the band's data and the surface; each has its own buffers.
/// Results don't depend on what a copy did before. It can't be serialized.
class KESGDAL_EXPORT OrthoTransformer {
public:
  static constexpr double DEFAULT_MARGIN = 1024.0;
  /// Destination positions that are x and y of the map, as `GDALSuggestedWarpOutput` wants them.
  static constexpr GeoTransform MAP_ITSELF = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

  /// `margin` in pixels. Throws std::runtime_error "Can't orthorectify: the raster's geotransform can't be inverted".
  OrthoTransformer(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface,
                   GeoTransform const& raster = MAP_ITSELF, double margin = DEFAULT_MARGIN);
  ~OrthoTransformer();
  OrthoTransformer(OrthoTransformer&& other) noexcept;
  OrthoTransformer& operator=(OrthoTransformer&& other) noexcept;

  /// A transformer of the same kind, for another thread; a failure of one is one of the other.
  OrthoTransformer copy() const;

  /// What GDAL wants beside `transform`. It belongs to this object.
  void* argument() const { return mArgument; }
  /// The same, for an owner such as a warped VRT, that ends it by `GDALDestroyTransformer`. This object is empty then:
  /// it may be destroyed or assigned to.
  void* release();

  /// A `GDALTransformerFunc`. Always returns 1; `success` says which positions are done, the others are HUGE_VAL. The z
  /// is neither read nor written.
  static int transform(void* argument, int dstToSrc, int count, double* x, double* y, double* z, int* success);

  /// Throws what the surface threw first when it couldn't be read, in this object or a copy of it. All positions fail
  /// from then on, which a warper takes for a hole.
  void rethrowFailure() const;

private:
  explicit OrthoTransformer(void* argument) : mArgument(argument) {}

  void* mArgument;
};

}  // namespace kesgdal
