// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/coordSys.h>

#include <memory>
#include <string>
#include <vector>

namespace sensor {

/// What a block file says, up to its first fault. Names of strips, elevation models and reference images are whole
/// paths.
struct BlockDescription {
  std::string displayName;
  std::string dataPath;
  std::string description;
  std::vector<std::string> stripFiles;
  std::vector<std::string> elevationSourceNames;
  std::vector<std::string> referenceImageNames;
  /// As they stand in the file. The last one counts.
  std::vector<std::string> groundPointFiles;
  /// Folders with calibrations.
  std::vector<std::string> calibrationFolders;
  std::unique_ptr<geo::coordSys> coordSys;
  std::unique_ptr<geo::coordSys> groundPointCoordSys;
  /// The message on the first element that is wrong or missing; empty for a file without a fault. Folders with
  /// calibrations in front of it count all the same.
  std::string fault;
};

/// Reads a block file. Throws what the constructor of `BlockModelData` throws on a file that can't be opened, isn't
/// XML, or isn't a block file of the right version.
BlockDescription readBlockFile(std::string const& fileName);

/// The folder of a file; empty without a name.
std::string folderOfFile(std::string const& fileName);

/// The data folder of a block: its data path, or the current folder (never the root of the file system) without one.
std::string dataFolder(std::string const& dataPath);

}  // namespace sensor
