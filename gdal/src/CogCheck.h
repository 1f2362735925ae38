// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace kesgdal {

struct OrthoContent;

/// Reads a finished Cloud Optimized GeoTIFF again and compares it with what was meant to be in it: size, place, type, the bands'
/// names, the value for no data, and every pixel; and each pixel of the overviews with the range of those it is the mean of. Returns
/// what is wrong, or an empty text. What GDAL reports besides goes to the thread's handler of errors.
///
/// Memory: a tile of each band, and some megabytes.
std::string flawOf(std::string const& cogName, OrthoContent const& content);

}  // namespace kesgdal
