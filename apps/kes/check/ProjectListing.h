// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

#include <string>
#include <vector>

namespace tool {

/// A file or folder that a strip or block file names.
struct ListedFile {
  std::string path;  ///< Empty when none is named.
  Place place;
};

struct ListedImage {
  std::string band;
  Place place;
  std::string image;
  std::string lineTimes;
  std::string footprint;
  std::string integrationTimes;  ///< Empty for a constant.
  std::string tdiStages;
  int samples = 0;
  int offset = 0;
};

/// What a strip file names.
struct StripListing {
  std::string name;
  ListedFile images;
  ListedFile rawData;
  ListedFile originalEop;
  ListedFile adjustedEop;
  std::string sensorType;
  std::string sensorId;
  std::string cameraVersion;
  Place camera;
  std::vector<ListedImage> bands;
};

/// Lists what a strip file names, whether it is there or not. Adds what the reader leaves out or reads as 0.
StripListing listStrip(FileFindings& findings);

/// Adds what the reader of a block file leaves out; returns the strips that it names.
std::vector<ListedFile> listBlock(FileFindings& findings);

}  // namespace tool
