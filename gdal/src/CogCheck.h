#pragma once

#include <string>

namespace kesgdal {

struct OrthoContent;

/// Reads a finished Cloud Optimized GeoTIFF again and compares it with what was meant to be in it: size, place, type, the bands'
/// names, the value for no data, and every pixel. Of the overviews, all of which must be readable, that they have data where the
/// image has. Returns what is wrong, or an empty text. What GDAL reports besides goes to the thread's handler of errors.
///
/// Memory: a tile of each band, and a bit for each tile.
std::string flawOf(std::string const& cogName, OrthoContent const& content);

}  // namespace kesgdal
