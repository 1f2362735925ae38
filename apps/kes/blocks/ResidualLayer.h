// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "images/VectorFile.h"

#include <kes/Strip.h>

#include <vector>

namespace tool {

/// An empty layer of residuals as vectors on the ground, with its style. The attributes of a feature: strip, band,
/// point; measured sample and line; residual in samples and lines; the same across and along the flight, metres;
/// whether the measurement is in use; whether it is an outlier, where the layer has that; how much longer the vector
/// is drawn.
VectorLayer residualLayer(bool hasOutliers);

/// A residual on the ground.
struct GroundVector {
  geo::XYZPoint start;  ///< In the strip's local system.
  geo::XYPoint step;    ///< Metres.
};

/// The vector at its height, so many times longer, on the map; empty where the map doesn't have it.
std::vector<geo::XYZPoint> drawn(GroundVector const& vector, double exaggeration, kes::Strip const& strip,
                                 kes::CoordinateSystem const& map);

}  // namespace tool
