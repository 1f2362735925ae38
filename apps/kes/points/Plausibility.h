// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>

#include <string>

namespace kes {
class Band;
class Strip;
}  // namespace kes

namespace tool {

/// What is wrong with a ground position that a band didn't see, if it lies more than 100 km from the middle of the
/// band's image: its distance, and whether it would lie near under another reading of its numbers (swapped, degrees,
/// radians, feet). Empty for a position that is near, or that can't be converted under any reading.
std::string doubtAbout(geo::XYZPoint const& position, kes::CoordinateSystem const& system, kes::Strip const& strip,
                       kes::Band const& band);

}  // namespace tool
