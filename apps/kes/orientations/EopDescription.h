// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <kes/CoordinateSystem.h>

#include <optional>
#include <string>

namespace sensor {
class EOPData;
}

namespace tool {

/// GPS seconds.
struct TimeSpan {
  double start = 0.0;
  double end = 0.0;
};

/// Metres above the anchor point.
struct HeightRange {
  double lowest = 0.0;
  double highest = 0.0;
};

/// A loaded orientation.
struct EopDescription {
  int version = 0;
  int records = 0;
  TimeSpan span;
  double frequency = 0.0;  ///< Hertz.
  kes::GeodeticPosition anchor{};
};

/// The span is 0 without records.
EopDescription describe(sensor::EOPData const& eop);
/// `version`, `records`, `start`, `end`, `frequency`, `anchor.{longitude,latitude,height}` in degrees and metres.
Json toJson(EopDescription const& eop);
Json toJson(HeightRange const& heights);

/// Adds the lines of an anchor point (radians, metres).
void addAnchor(Listing& listing, double longitude, double latitude, std::optional<double> height = {});
void addAnchor(Listing& listing, kes::GeodeticPosition const& anchor);
/// Adds the lines of the times and heights between which records lie.
void addSpan(Listing& listing, TimeSpan const& span);
void addHeights(Listing& listing, HeightRange const& heights);

}  // namespace tool
