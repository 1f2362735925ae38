// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <string>

namespace sensor {
class EOPData;
}

namespace tool {

constexpr double degrees = 57.29577951308232;

/// What a loaded orientation is, without its file: `version`, `records`, `start` and `end` (seconds), `frequency` (hertz),
/// `anchor.{longitude,latitude,height}` (degrees, metres).
Json describe(sensor::EOPData const& eop);

/// Adds the lines of an anchor point as `describe` gives it, with a height or without.
void addAnchor(Listing& listing, Json const& anchor);

/// Adds the lines of the times and heights between which records lie; `description` has `start`, `end` and
/// `heights.{minimum,maximum}`.
void addSpan(Listing& listing, Json const& description);
void addHeights(Listing& listing, Json const& description);

}  // namespace tool
