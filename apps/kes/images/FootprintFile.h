// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "images/VectorFile.h"

#include <geo/XYZPoint.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// An outline, and its attributes.
struct Footprint {
  std::vector<geo::XYZPoint> points;
  std::string strip;
  std::string band;
  double gsd;                           ///< Metres.
  double start;                         ///< GPS time of the first line, seconds.
  double end;                           ///< GPS time of the last line, seconds.
  double look = 0.0;                    ///< Angle of the view, degrees, forward positive.
  double complete = 1.0;                ///< 0 where parts of the outline are missing.
  std::optional<std::uint32_t> week{};  ///< GPS week of the times, where the orientation knows it.
  double height = 0.0;                  ///< Mean of the outline, metres.
  double azimuth = 0.0;                 ///< Direction of the flight, degrees from north over east.
  int lines = 0;
  int samples = 0;
  std::string orientation{};  ///< Which one: adjusted or original.
};

/// A line of an image on the ground.
struct ImageLine {
  std::vector<geo::XYZPoint> points;
  std::string strip;
  std::string band;
  int line;
  double time;  ///< GPS seconds.
};

VectorLayer layerOf(std::vector<Footprint> const& footprints);
VectorLayer layerOf(std::vector<ImageLine> const& lines);

}  // namespace tool
