// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/ProjectedElevationSource.h>
#include <geo/XYZPoint.h>
#include <sensor/KESStripModel.h>

#include <vector>

namespace tool {

/// The outline of a band's image on a surface, in the mapping system of the strip: the outer edges of its pixels, all
/// around, the last point that of the first. Throws when the surface has no height at one of its points, with the
/// band's id and the image position.
std::vector<geo::XYZPoint> outlineOf(sensor::KESStripModel const& strip, int band,
                                     dsm::ProjectedElevationSource& surface);

}  // namespace tool
