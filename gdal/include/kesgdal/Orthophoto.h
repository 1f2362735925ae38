#pragma once

#include <functional>
#include <kesgdal/kesgdal_export.h>
#include <string>
#include <vector>

namespace dsm {
class RasterElevationSource;
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
  /// Indices of the bands, in the order they have in the orthophoto.
  std::vector<int> bands;
  /// Size of a pixel, metres; see `OrthoGrid`.
  double gsd = 0.0;
  Resampling resampling = Resampling::CUBIC;
  /// What pixels have that no image saw; those of an image that have this value become the next one.
  double noData = 0.0;
  /// How many threads work, from 1. Pixels don't depend on it.
  int threads = 1;
};

/// Called with the part that is done, 0 to 1, by one thread at a time.
using Progress = std::function<void(double)>;

/// Orthorectifies the images of a strip's bands, which lie in its folder of images, and writes a Cloud Optimized GeoTIFF: in the
/// strip's mapping system, on the pixels of `OrthoGrid` around all bands, with a raster band for each, described by its id.
///
/// Each pixel's centre is projected as by `OrthoTransformer`. Memory doesn't grow with the orthophoto: pieces of some
/// megabytes are worked on at a time. Beside the file it needs room for the pixels without compression, but for
/// those of pieces without any data.
///
/// The file appears under its name as a whole, after it was closed and found to be whole, or not at all; an older one is
/// replaced, with what GDAL keeps beside it.
///
/// Throws std::runtime_error, with the place: a band without an image, an image that isn't of one band or has another size
/// than the strip says, a value without data that the images' type can't hold; a map that is neither projected nor
/// geographic; an elevation model that doesn't cover any of the bands; a grid as `OrthoGrid` doesn't allow; and "can't write FILE:
/// " with the reason.
KESGDAL_EXPORT void writeOrthophoto(sensor::KESStripModel const& strip, dsm::RasterElevationSource* surface,
                                    OrthoPlan const& plan, std::string const& fileName, Progress const& progress = {});

}  // namespace kesgdal
