// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoFile.h"
#include "PixelSum.h"

#include <kesgdal/Orthophoto.h>

#include <string>
#include <vector>

namespace kesgdal {

/// What was written to an `OrthoFile`.
struct OrthoContent {
  OrthoFormat const& format;
  std::vector<std::string> const& bandNames;
  std::vector<PixelSum> const& sums;
  std::vector<std::string> const& metadata;  // items "NAME=VALUE"
};

/// How the file is written that stays.
struct FinalFile {
  std::string name;
  FileFormat format;
  std::vector<std::string> const& creationOptions;
  int threads;
};

/// Throws std::runtime_error on an option "KEY=VALUE" that the format doesn't have, or that would change pixels.
void requireOptions(FileFormat format, std::vector<std::string> const& options);

/// Copies a finished `OrthoFile` of a folder to the file that stays, in the same folder: compressed without loss. A
/// Cloud Optimized GeoTIFF gets overviews, too. Throws by `files::WorkFolder::fail` with GDAL's reason, also when the
/// file, closed and opened again, doesn't hold `content`.
void writeFinal(files::WorkFolder const& folder, std::string const& name, OrthoContent const& content,
                FinalFile const& file, Progress const& progress);

/// Reads a finished file again and compares it with what was meant to be in it: size, place, type, the bands' names,
/// the value for no data, the metadata, and every pixel; and each pixel of the overviews with the range of those it is
/// the mean of. Returns what is wrong, first of all what GDAL reports, or an empty text. Memory: some megabytes to a
/// thread, and GDAL's cache.
std::string flawOf(std::string const& cogName, OrthoContent const& content, int threads);

}  // namespace kesgdal
