// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"
#include "shared/ElevationModel.h"
#include "shared/Options.h"
#include "shared/Progress.h"

#include <string>

namespace tool {

struct ReportOptions {
  std::string file;  ///< The block or strip.
  CameraOptions camera;
  OrientationOption orientation;
  ElevationModelOptions dem;
  ProgressOption progress;
  MapOptions map;
  std::string points;     ///< Empty: those of the block or near the strip, if there are any.
  std::string pointsCrs;  ///< Empty: see `GroundControl::systemFor`.
  int grid = 20;          ///< Points along and across an image, for the closure.
  std::string output;
};

/// Collects all that a report shows; one strip is in memory at a time. Throws what opening the block or the strips
/// throws, and std::runtime_error "the map of a report takes a projected coordinate system, not CRS".
Report collectReport(ReportOptions const& options);

}  // namespace tool
