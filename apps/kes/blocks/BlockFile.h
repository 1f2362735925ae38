// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Options.h"
#include "shared/Output.h"

#include <sensor/GroundPointList.h>

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// What a new block is made of. Files as they are given on the command line.
struct BlockPlan {
  std::string name;  ///< Empty for the name of the block's file.
  std::string description;
  std::string crs;
  std::vector<std::string> strips;
  std::vector<std::string> elevationModels;
  std::vector<std::string> referenceImages;
  std::string groundPoints;  ///< Empty for none.
  CameraOptions camera;
};

/// Whether a file name consists of a name and the extension of block files.
bool isBlockName(std::string const& file);

/// Writes a block file, in which the names of strips, ground points and calibrations in its folder or below are
/// relative. It names the folders in which the strips' calibrations were found, so that it opens without further
/// options. Throws what opening the strips and making the coordinate system throw; "strips A and B are both named
/// \"NAME\""; "no ground points in FILE".
void createBlock(std::string const& file, BlockPlan const& plan);

/// The ground points that a block file names.
struct BlockGroundPoints {
  std::string file;  ///< As in the block file; blank for none.
  bool isRead = false;
  sensor::GroundPointList points;
  std::optional<std::string> crs;  ///< Nothing for the system of the block's maps.
};

/// Throws what opening the block throws.
BlockGroundPoints groundPointsOf(std::string const& file);

/// A strip of a block, which isn't loaded.
struct BlockStrip {
  std::string name;
  std::string file;
  std::string cameraType;
  std::string sensorId;
  std::string cameraVersion;
  std::string eopFile;
  bool isAdjusted;
  std::vector<std::string> bands;
};

struct BlockDescription {
  std::string name;
  std::string file;
  std::string description;
  std::string dataPath;
  std::string coordinateSystem;
  std::vector<BlockStrip> strips;
  std::vector<std::string> elevationModels;
  std::vector<std::string> referenceImages;
  BlockGroundPoints groundPoints;
};

/// Opens the strips without their data.
BlockDescription describeBlock(std::string const& file, CameraOptions const& camera);
Json toJson(BlockStrip const& strip);
Json toJson(BlockDescription const& block);
void printText(BlockDescription const& block);

}  // namespace tool
