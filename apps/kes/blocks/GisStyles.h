// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// Styles of QGIS (QML) for the layers of a block. QGIS fills in what they leave out.
namespace tool::gisStyle {

std::string footprints();    ///< Translucent areas with an edge.
std::string flightLines();   ///< Lines, with arrowheads at their ends.
std::string groundPoints();  ///< Triangles, labelled with their ids.
std::string residuals();     ///< Red arrows; grey where a measurement isn't in use.

}  // namespace tool::gisStyle
