// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

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

/// What orthophoto is made.
struct OrthoPlan {
  /// Ids of the bands, in the order they have in the orthophoto.
  std::vector<std::string> bands;
  /// Size of a pixel, metres; see `OrthoGrid`. Between 0.01 and 1024 times the ground sampling distance of each image.
  double gsd = 0.0;
  Resampling resampling = Resampling::CUBIC;
  /// The value of pixels that no image saw; those of an image that have this value become the next one.
  double noData = 0.0;
  /// How many threads work, from 1. Pixels don't depend on it.
  int threads = 1;
};

}  // namespace kesgdal
