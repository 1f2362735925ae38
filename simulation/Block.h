// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/BlockPlan.h>
#include <simulation/Flight.h>

#include <string>
#include <vector>

namespace simulation {

/// The files of a simulated block, relative to its folder.
struct BlockFiles {
  std::string block;
  std::string calibrations;
  /// Empty in a block without ground points.
  std::string groundPoints;
  /// With errors to recover, or control, check or tie points: the errors and the true points.
  std::string truth;
  /// Of each flight, in the order of `BlockPlan::flights`.
  std::vector<FlightFiles> strips;
};

/// Flies a block over the plan's terrain and writes it into a new folder: the block file, each strip in a folder of its
/// name as `simulateFlight` has it, one camera for all, the ground points, and the measurements of these in the images
/// of all bands. Strips of the camera of XML files lie beside those that the block lists. The folder appears as a
/// whole, or not at all. Equal plans make equal files.
///
/// The block file names the elevation model by its absolute path and all else relative to its folder, also the folder
/// of calibrations, so that a block opens wherever it lies.
///
/// Image points are where the true orientation has them, with noise (see `measured`). They differ from where a strip's
/// orientation has them by its errors, too.
///
/// With control or check points, these are the ground points of the block, with the coordinates of their survey. Tie
/// points are measured in `tieBands`, under ids that no ground point has.
///
/// Throws std::runtime_error "strip \"NAME\" leaves the elevation model FILE at longitude L, latitude B" (degrees) when
/// a band would see, at the mean terrain, what lies outside; when there is no such coordinate system; and otherwise as
/// `simulateFlight`.
BlockFiles simulateBlock(BlockPlan const& plan, std::string const& folder, Progress const& progress = {});

/// Adds folders of calibrations to the text of a block file, whose names may be relative to its own folder: the library
/// reads them, but doesn't write them.
std::string withCalibrations(std::string blockText, std::vector<std::string> const& folders);

}  // namespace simulation
