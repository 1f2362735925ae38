// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace sensor {

/// What the id of a band says of its line, in the words of a support file.
struct BandWords {
  /// Throws std::out_of_range on an id of less than seven characters.
  explicit BandWords(std::string const& bandId);

  char const* spectralKind;
  char const* view;
  char const* staggered;
};

/// What a support file says of one image: where its files are and how it lies on the ground.
struct SupportFile {
  std::string imageId;
  std::string imageFileName;
  std::int32_t numLines;
  std::int32_t numSamples;
  /// The middle of the image on the mean terrain, in the strip's local system, metres.
  geo::XYZPoint centre;
  /// Origin of the local system: longitude and latitude in radians, height in metres.
  geo::XYZPoint anchor;
  /// The same in geocentric coordinates, metres.
  geo::XYZPoint localOrigin;
  /// Metres of the local system.
  float meanFlyingHeight;
  float meanTerrainHeight;
  /// Ground sampling distance, metres.
  float gsd;
  /// When the file is written.
  std::string date;
  BandWords band;
  std::string originalOrientation;
  std::string adjustedOrientation;
  std::string calibration;
};

/// Writes the lines of a support file, numbers with a decimal point in every locale. Line ends within a text become
/// blanks.
void writeSupportFile(std::ostream& out, SupportFile const& file);

}  // namespace sensor
