// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <raster/Statistics.h>

#include <map>
#include <string>

namespace raster {

/// The bands of a ".stat" file that have all four statistics and, if any, a whole histogram. A file that isn't there or
/// is no auxiliary document has none.
std::map<LayerType, Statistics::Layer> readStatFile(std::string const& fileName);

/// The contents of a ".stat" file.
std::string statFileText(std::map<LayerType, Statistics::Layer> const& layers);

}  // namespace raster
