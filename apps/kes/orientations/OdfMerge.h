// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sensor {
class KESOrientation;
}

namespace tool {

/// Longitude and latitude in the header of an ODF, radians.
struct HeaderAnchor {
  double longitude;
  double latitude;
};

/// Nothing when it was never set.
std::optional<HeaderAnchor> anchorOf(sensor::KESOrientation const& odf);

/// The command that joins orientation files (ODF) in one EOP file.
struct OdfMerge {
  std::string out;
  std::vector<std::string> odfs;
  std::vector<double> anchor;  ///< Longitude and latitude in degrees, height in metres; empty when not given.
  std::vector<std::string> supports;
  bool force = false;
  bool adjusted = false;

  void addTo(CLI::App& command);
  /// Throws the parser's error when options contradict each other.
  void check() const;
  /// Joins the files, and prints what was joined; throws the library's message when they don't fit one another.
  int run() const;
};

}  // namespace tool
