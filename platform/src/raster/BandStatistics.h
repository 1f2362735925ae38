// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <raster/Statistics.h>

#include <optional>

class GDALRasterBand;

namespace raster {

/// The statistics of every `step`-th pixel of every `step`-th line of a band, or nothing when none of them has a value.
/// Throws std::runtime_error when a line can't be read.
std::optional<Statistics::Layer> bandStatistics(GDALRasterBand& band, int step);

}  // namespace raster
