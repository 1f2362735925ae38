// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>

/// Orthorectification with GDAL.
namespace kesgdal {

/// The map from columns and rows of a raster, counted from the outer corner of the first pixel, to x and y:
/// x = [0] + [1] column + [2] row, y = [3] + [4] column + [5] row.
using GeoTransform = std::array<double, 6>;

}  // namespace kesgdal
