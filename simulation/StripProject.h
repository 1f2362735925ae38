// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/CameraHead.h>
#include <simulation/Flight.h>
#include <simulation/FlightErrors.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>

#include <string>

namespace simulation {

/// Where a strip project is written.
struct StripPlace {
  std::string folder;
  /// The absolute path that the folder will have in the end, for files that name others by their full path.
  std::string finalFolder;
  /// The folder of calibrations, relative to the project's.
  std::string calibrations = "calibration";
};

/// The errors of the camera that a plan asks for, drawn from its seed.
CameraErrors cameraErrorsOf(FlightPlan const& plan);

/// Writes the calibrations of all cameras that the plan asks for into a folder: of the head and, with errors, of the
/// recorded one, too.
void writeCalibrations(FlightPlan const& plan, CameraHead const& head, CameraErrors const& errors,
                       std::string const& folder);

/// The absolute path of a folder that need not exist, without a separator at its end.
std::string absoluteFolder(std::string const& folder);

/// A strip that was written, and its errors to recover, which are zero where the plan has none.
struct WrittenStrip {
  FlightFiles files;
  StripErrors errors;
};

/// Flies a strip and writes its project: all that `simulateFlight` writes, but for camera, images and `truth.json`. The
/// plan is one that can be flown. Throws as that does.
WrittenStrip writeStripProject(FlightPlan const& plan, Terrain const& terrain, StripPlace const& place,
                               CameraErrors const& camera, Progress const& progress);

}  // namespace simulation
