// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Markup.h"
#include "report/Report.h"

#include <cstddef>
#include <set>
#include <string>

namespace tool {

/// Draws the map: the relief, the outlines of images (of a block, one for each strip), flight lines and ground points,
/// with coordinates, a bar of scale and north.
void drawMap(Markup& page, Report const& report);

/// The class of a band's colour, by the direction of its view: forward, down or back.
std::string colourOf(double lookAngle);

/// Adds what the colours of bands mean to a drawing's legend, as far as they occur.
void writeColourKeys(Markup& page, std::set<std::string> const& colours);

/// The band that looks straightest down.
BandReport const& steepestOf(StripReport const& strip);

/// Draws the residuals of a strip where they were measured, lines to the right and samples downwards; at most so many,
/// the largest ones.
void drawResiduals(Markup& page, StripReport const& strip, std::size_t mostVectors);

}  // namespace tool
