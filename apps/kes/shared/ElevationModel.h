// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Surface.h>

#include <CLI/CLI.hpp>

#include <string>

namespace tool {

/// The elevation model of a command, and what its heights count from.
struct ElevationModelOptions {
  std::string file;
  std::string vertical;  ///< Empty: the file says it.

  /// Adds `--dem`, which it returns, and `--vertical` to a command.
  CLI::Option* addTo(CLI::App& command, std::string const& what);
  bool isGiven() const { return !file.empty(); }
  /// Throws what `kes::Surface::raster` throws. Where neither the file nor `--vertical` says what heights count from,
  /// one line on standard error says how they are taken and how far the geoid is.
  kes::Surface open() const;
};

}  // namespace tool
