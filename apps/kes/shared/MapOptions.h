// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/coordSys.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace tool {

/// The coordinate system of map positions.
struct MapOptions {
  /// Any definition of PROJ; empty for WGS 84 longitude and latitude in degrees and ellipsoidal heights.
  std::string crs;

  /// Adds `--crs` to a command.
  CLI::Option* addTo(CLI::App& command);
  /// Makes the system; throws what `geo::coordSysFactory::createCoordSys` throws.
  std::unique_ptr<geo::coordSys> make() const;
  /// The definition, or what stands in its place.
  std::string name() const;
};

}  // namespace tool
