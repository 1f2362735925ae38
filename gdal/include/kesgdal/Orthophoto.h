// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/kesgdal_export.h>

#include <functional>
#include <string>
#include <vector>

namespace dsm {
class RasterElevationSource;
}

namespace geo {
class coordSys;
}

namespace sensor {
class KESStripModel;
}

namespace kesgdal {

/// How brightness is interpolated between the pixels of an image. Where the orthophoto is coarser than the image, all but
/// `NEAREST` take a mean over its pixels, weighted by the interpolating function, which stays in place to a tenth (`BILINEAR`)
/// or to three hundredths (`CUBIC`) of a pixel of the image. GDAL has others, which don't: in version 3.6 its Lanczos filter
/// shifts such an image by half a pixel.
enum class Resampling { NEAREST, BILINEAR, CUBIC };

/// What is made.
struct OrthoPlan {
  /// Ids of the bands, in the order they have in the orthophoto.
  std::vector<std::string> bands;
  /// Size of a pixel, metres; see `OrthoGrid`. Between 0.01 and 1024 times the ground sampling distance of each image.
  double gsd = 0.0;
  Resampling resampling = Resampling::CUBIC;
  /// What pixels have that no image saw; those of an image that have this value become the next one.
  double noData = 0.0;
  /// How many threads work, from 1. Pixels don't depend on it.
  int threads = 1;
};

/// Called with the part that is done, 0 to 1, by one thread at a time.
using Progress = std::function<void(double)>;

/// Takes a strip, whose data are loaded.
using StripVisitor = std::function<void(sensor::KESStripModel const&)>;

/// Calls a visitor with each of the strips, in the same order each time. A strip has its data and the orthophoto's mapping system
/// during the call; it isn't used any longer afterwards, so that one at a time is enough in memory.
using EachStrip = std::function<void(StripVisitor const&)>;

/// Orthorectifies the images of bands of one or more strips, which lie in the strips' folders of images, and writes a Cloud
/// Optimized GeoTIFF: in the system `map`, on the pixels of `OrthoGrid` around all images, with a raster band for each band,
/// described by its id. A strip that lacks a band is left out of that one. The strips are gone through twice: for what has to
/// be known before the first pixel, and for the pixels.
///
/// Each pixel's centre is projected as by `OrthoTransformer`. Where strips overlap, a pixel shows the strip in whose image it
/// lies nearest to the middle of the line, in samples, among those that have data there; the first of these when several
/// are as near. So the view is as steep as any, and seams run through the middle of overlaps. Strips aren't blended, and their
/// brightness isn't balanced.
///
/// Memory grows neither with the orthophoto nor with the number of strips: pieces of some megabytes are worked on at a time.
/// Beside the file it needs room for the pixels without compression, but for those of pieces without any data, and for four
/// bytes more to a pixel when several strips are seen.
///
/// The file appears under its name as a whole, after it was closed and found to be whole, or not at all; an older one is
/// replaced, with what GDAL keeps beside it.
///
/// Throws std::runtime_error, with the place: no strip, or one whose data aren't loaded, that has another mapping system or isn't
/// the same the second time; "no band "ID" in the strip, which has ..." for a band that none of them has; a band
/// without an image, an image that isn't of one band or has another size than the strip says, a value without data that the
/// images' type can't hold; a map that is neither projected nor geographic; an elevation model that doesn't cover any of the
/// images; a size of pixels that isn't in proportion to an image's, "ground sampling distance of <gsd> m isn't between 0.01 and
/// 1024 times that of the image of band <id>, <gsd> m", since the run would hardly end; a grid as `OrthoGrid` doesn't allow; and "can't write FILE: " with the reason. What `strips` throws goes through.
KESGDAL_EXPORT void writeOrthophoto(EachStrip const& strips, geo::coordSys const& map,
                                    dsm::RasterElevationSource* surface, OrthoPlan const& plan,
                                    std::string const& fileName, Progress const& progress = {});

/// The same for one strip, in its mapping system.
KESGDAL_EXPORT void writeOrthophoto(sensor::KESStripModel const& strip, dsm::RasterElevationSource* surface,
                                    OrthoPlan const& plan, std::string const& fileName, Progress const& progress = {});

}  // namespace kesgdal
