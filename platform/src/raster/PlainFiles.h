// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace raster {

/// The name by which GDAL reaches the file of that absolute path, and the files beside it, as plain files only: what
/// isn't a regular file doesn't exist for it, nor do overviews in files of their own and masks that aren't TIFF files.
std::string plainFileName(std::string const& path);

/// Why GDAL's last call failed, in its words, with such names as the paths they stand for.
std::string lastGdalError();

}  // namespace raster
