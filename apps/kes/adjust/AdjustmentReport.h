// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "images/VectorFile.h"
#include "shared/Output.h"

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>

#include <span>
#include <string>
#include <vector>

namespace tool {

/// Where a strip's adjusted orientation is, or will be.
struct OrientationFile {
  std::string strip;
  std::string file;
};

/// A new version of a camera's calibration.
struct CameraFolder {
  std::string version;
  std::string folder;
};

/// An adjustment, and what it is of.
struct Adjustment {
  std::string block;
  kes::CoordinateSystem system;  ///< Of the ground points.
  bool isPlan = false;           ///< Of a block that isn't measured yet.
  kesadjust::BlockResult const& result;
  std::vector<OrientationFile> orientations;  ///< Empty where the strips stay as they were.
  std::vector<CameraFolder> cameras;          ///< Likewise, and where no camera was adjusted.
};

/// The summary for people.
void printText(Adjustment const& adjustment);
/// All of it.
Json toJson(Adjustment const& adjustment);

/// Residuals as layers: the ground points, and vectors on the ground, so many times longer than they are, from adjusted
/// points to where the image points lie. `map` is the system of the layers.
std::vector<VectorLayer> layersOf(Adjustment const& adjustment, std::span<kes::Strip const> strips,
                                  kes::CoordinateSystem const& map);

}  // namespace tool
