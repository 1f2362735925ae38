// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/ErrorPlan.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulation {

/// What is flown. Everything else about a flight follows from the seed.
struct FlightPlan {
  static constexpr int minLines = 200;
  static constexpr int maxLines = 200000;
  static constexpr int minSamples = 64;
  static constexpr int maxSamples = 60000;

  /// Elevation model under the flight, any raster that GDAL reads.
  std::string dem;
  /// What its heights count from, such as "EPSG:5773", where its file doesn't say so; see `kes::Surface::raster`.
  std::string vertical;
  /// Where the middle of the strip lies, metres from the middle of the elevation model.
  double east = 0.0;
  double north = 0.0;
  int lines = 4000;
  int samples = 12000;
  std::uint64_t seed = 1;
  /// Flying height above the mean terrain, metres.
  double height = 2000.0;
  /// Direction of flight, degrees clockwise from north.
  double heading = 237.0;
  std::string name = "Line1";
  /// Time of the first line, seconds of the week.
  double startTime = 312338.25;

  /// Ids of the bands whose images are rendered; `allBands` stands for all.
  std::vector<std::string> renderedBands;
  static constexpr char const* allBands = "all";
  /// What lies on the ground, any raster that GDAL reads; empty: the shaded terrain with a fine pattern.
  std::string texture;
  /// The seed of that pattern: flights over one terrain at one height see the same ground when it is the same.
  std::uint64_t textureSeed = 1;
  /// Version of the orientation files of single bands (ODF) that are written, `oldOdf` or `currentOdf`; empty: none.
  std::string odfVersion;
  static constexpr char const* oldOdf = "1.0";
  static constexpr char const* currentOdf = "1.2";
  /// Whether the camera is written as one of XML files, too, with a strip that has it.
  bool hasXmlCamera = false;
  /// Errors to recover, in place of those that the original and the adjusted orientation otherwise have: the recorded
  /// orientation and camera have these alone, and there is no adjusted orientation.
  std::optional<ErrorPlan> errors;

  /// Threads that render, 0 for as many as the machine runs at a time. Images don't depend on it.
  int threads = 0;

  /// As many lines as reach over so many metres of level ground, from the height of this plan.
  void setLength(double metres);

  /// Throws std::runtime_error with the first value that can't be flown and its range, "errors to recover can't be
  /// written as orientation files of bands", and what `ErrorPlan::validate` throws of so many strips.
  void validate(std::size_t strips = 1) const;
};

}  // namespace simulation
