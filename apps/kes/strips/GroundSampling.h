// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>

namespace kes {
class Band;
}

namespace tool {

/// Distances on the ground between the centres of neighbouring pixels, projected to a height: of samples, and of lines,
/// there as a mean over 64 lines, since from one line to the next the attitude scatters. Metres; NaN where there is no
/// ground.
struct GroundSampling {
  double across;
  double along;
};

/// At an image position, at a height of the strip's local system.
GroundSampling groundSamplingAt(kes::Band const& band, geo::XYPoint const& image, double localHeight);

}  // namespace tool
