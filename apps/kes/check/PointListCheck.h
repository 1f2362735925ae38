// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

namespace tool {

/// Names the lines of a list of ground points that are left out or read as what their author didn't mean.
void checkGroundPointList(FileFindings findings);

/// The size of an image.
struct ImageExtent {
  std::int64_t samples;
  std::int64_t lines;
};

/// The same of a list of measurements in an image.
void checkImagePointList(FileFindings findings, ImageExtent const& image);

}  // namespace tool
