// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/CameraOptions.h"

#include <sensor/kessensor.h>

#include <string>

namespace tool {

/// The strip a command works on, and where its camera is found.
struct StripOptions {
  std::string file;
  CameraOptions camera;

  void addTo(CLI::App& command);
};

/// The index of a band id; throws "no band \"ID\" in the strip, which has ..." when there is none.
int bandIndex(sensor::KESStripModel const& strip, std::string const& bandId);

/// First and last GPS time (seconds) of the orientation's records; 0 without records.
struct TimeSpan {
  double start = 0.0;
  double end = 0.0;
};
TimeSpan spanOf(sensor::EOPData const& eop);

}  // namespace tool
