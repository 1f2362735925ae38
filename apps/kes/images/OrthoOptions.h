// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/ElevationModel.h"
#include "shared/InputGuard.h"
#include "shared/StripSet.h"

#include <kes/CoordinateSystem.h>
#include <kesgdal/Orthophoto.h>

#include <CLI/CLI.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tool {

/// What orthophoto is made, of what.
struct OrthoOptions {
  StripsOptions strips;
  OrientationOption orientation;
  ElevationModelOptions dem;
  std::string crs;
  std::string like;
  std::vector<double> extent;
  std::vector<double> scale;
  kesgdal::OrthoPlan plan;

  /// Adds all options to a command. When the command is called without a subcommand, what no single option can see is
  /// checked, and `then` is called.
  void addTo(CLI::App& command, std::function<void()> const& then);
  /// Makes sure that the output is none of the files that are read, but those of the strips.
  void check(InputGuard const& output) const;
  /// The plan with the place, on the map that comes back: those of a raster, or by the options for both.
  kes::CoordinateSystem complete(kesgdal::OrthoPlan& completed) const;
};

/// The strips of a run, each opened once; so many of them at the most have their data in memory.
class OrthoStrips {
public:
  OrthoStrips(OrthoOptions const& options, InputGuard const& output, int limit);

  /// As `kesgdal::EachStrip`.
  void forEach(kesgdal::StripVisitor const& visit);

private:
  std::vector<kes::Strip> mStrips;
  std::size_t mLimit;
};

/// Adds `--threads`.
CLI::Option* addThreads(CLI::App& command, int& threads, std::string const& what);

/// Adds `--strip-limit`.
void addStripLimit(CLI::App& command, int& limit, std::string const& what);

/// Throws std::runtime_error "OUTPUT doesn't end in .tif or .tiff: ...".
void requireTiff(std::string const& output);

/// Adds the commands for an orthophoto in tiles to `ortho`.
void addOrthoTiles(CLI::App& ortho, std::function<int()>& run);

}  // namespace tool
