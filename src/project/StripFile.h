// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/XmlElement.h"

#include <string>
#include <vector>

namespace sensor {

/// What a strip file says, up to its first fault. Paths are resolved against its folder.
struct StripDescription {
  std::string folder;
  std::string name;
  /// Metres.
  float meanTerrainHeight = 0.0F;
  std::string imageDataLocation;
  /// The elements of the images in front of the fault, from which `KESImage` is made.
  std::vector<XmlElement> images;
  std::string cameraVersion;
  std::string sensorId;
  std::string sensorType;
  std::string originalEOPFileName;
  /// Empty without one.
  std::string adjustedEOPFileName;
  std::string rawDataLocation;
  /// The message on the first element that is wrong or missing; empty for a file without a fault. Images come before
  /// it: one that can't be made is the fault to report.
  std::string fault;
};

/// Reads a strip file. Throws what the constructor of `KESStripModelData` throws on a file that can't be opened, isn't
/// XML, or isn't a strip file of the right version.
StripDescription readStripFile(std::string const& fileName);

/// Enters the file name of an adjusted orientation, without its folder, in a strip file. Throws what
/// `KESStripModelData::write` throws.
void enterAdjustedEOP(std::string const& fileName, std::string const& adjustedEOPFileName);

}  // namespace sensor
