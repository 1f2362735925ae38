// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/Footprint.h>
#include <kesgdal/OrthoGrid.h>

#include <optional>
#include <string>
#include <vector>

namespace kesgdal {

/// How brightness is interpolated between the pixels of an image: `NEAREST` takes the pixel around a position,
/// `BILINEAR` weighs those around it by a triangle, `CUBIC` by cubic convolution (R. Keys, 1981, a = -1/2). Where the
/// orthophoto is coarser than the image, the last two take a mean over its pixels, weighted by that function, which
/// stays in place to a tenth (`BILINEAR`) or to three hundredths (`CUBIC`) of a pixel of the image.
///
/// A pixel of the orthophoto has data where the pixel of the image around its position has; values that aren't finite
/// are none. Where others within the function's reach lack data, or the image ends, the mean is that of the triangle,
/// over those with data.
enum class Resampling { NEAREST, BILINEAR, CUBIC };

/// The type of an orthophoto's pixels; `IMAGES` is the smallest that holds the values of all images.
enum class PixelType { IMAGES, BYTE, UINT16, INT16, UINT32, INT32, FLOAT32, FLOAT64 };

/// A range of brightness that is spread over the pixels' type: `lowest` becomes 0, and `highest` the greatest value of
/// an integer type, or 1 in one of floating point. What lies outside becomes the nearer one of the two.
struct BrightnessRange {
  double lowest;
  double highest;
};

/// What file an orthophoto becomes: a Cloud Optimized GeoTIFF, which has overviews, or a GeoTIFF in tiles without any.
enum class FileFormat { COG, GTIFF };

/// What orthophoto is made.
struct OrthoPlan {
  /// Ids of the bands, in the order they have in the orthophoto.
  std::vector<std::string> bands;
  /// Size of a pixel, metres; see `OrthoGrid`. Between 0.01 and 1024 times the ground sampling distance of each image.
  double gsd = 0.0;
  /// The box that is made, in the unit of the map, whose edges move outwards to those of pixels; otherwise that around
  /// all images.
  std::optional<Extent> extent;
  /// The pixels, in place of `gsd` and `extent`; see `gridOfRaster`.
  std::optional<OrthoGrid> grid;
  /// Name of a vector file of GDAL: pixels whose centre lies in none of its polygons have no data. Their corners are
  /// converted to the map, and joined there by straight lines; without a system they are on the map. Without `extent`
  /// and `grid`, the orthophoto ends at the box around them. Empty: nothing is cut.
  std::string cut;
  Resampling resampling = Resampling::CUBIC;
  PixelType type = PixelType::IMAGES;
  /// Without it, values stay what they are; `type` then has to hold those of all images.
  std::optional<BrightnessRange> scale;
  FileFormat format = FileFormat::COG;
  /// Of GDAL's driver for the format, each "KEY=VALUE": how pixels are compressed without loss, and laid out.
  std::vector<std::string> creationOptions;
  /// Whether the file says in its metadata what it was made of, and how well its pixels close; see `writeOrthophoto`.
  bool hasRecord = true;
  /// The value of pixels that no image saw; those of an image that have this value become the next one.
  double noData = 0.0;
  /// How many threads work, from 1. Pixels don't depend on it.
  int threads = 1;
};

}  // namespace kesgdal
