// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/Origin.h>
#include <util/kesplatform_export.h>

#include <memory>
#include <string>

class GDALDataset;

namespace raster {

struct KESPLATFORM_EXPORT DatasetCloser {
  void operator()(GDALDataset* dataset) const;
};

/// An open raster, which closes itself.
using Dataset = std::unique_ptr<GDALDataset, DatasetCloser>;

/// Opens the raster of that name (UTF-8) for reading.
///
/// A name that a user gave may be any that GDAL takes but pipes and devices. A name that stands in a file leads to a
/// regular file, in one of the formats below, and never to a connection, another data set or a blocking file:
/// - Formats are those in which line images and elevation models come and whose files hold their own pixels: GeoTIFF,
///   JPEG 2000, JPEG, PNG, BMP, PNM, NITF, Erdas Imagine, ENVI, ESRI BIL, ASCII grids, DTED, SRTM and USGS elevation
///   models.
/// - Files beside it that GDAL looks for (headers, world files, auxiliary documents) are seen when they are regular. A
///   mask (".msk") is seen when it is a TIFF file. Overviews in files of their own (".ovr", ".r0" to ".r9") aren't
///   seen; an auxiliary document or the file's own metadata that refer to overviews elsewhere are refused.
///
/// Throws std::runtime_error with the reason alone.
KESPLATFORM_EXPORT Dataset openRaster(std::string const& name, util::Origin origin);

}  // namespace raster
