// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tool {

/// Where a command that needs a camera looks for its calibration.
struct CameraOptions {
  std::vector<std::string> calibrations;
  std::string settings;

  /// Adds `--calibrations` and `--settings` to a command.
  void addTo(CLI::App& command);
  /// Hands both to the library; the last folder given is searched first.
  void apply() const;
};

}  // namespace tool
