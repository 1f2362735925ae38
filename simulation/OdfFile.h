// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/Trajectory.h>

#include <cstdint>
#include <span>
#include <string>

namespace simulation {

/// What the head of a band's orientation file (ODF) says, but for the numbers of its packing.
struct OdfHead {
  /// "1.0" or "1.2"; the former has no anchor point.
  std::string version;
  std::string name;
  /// Longitude and latitude in radians.
  geo::XYZPoint anchor;
  std::int32_t absoluteTime;
  Navigation::Accuracy accuracy;
};

/// Writes an ODF of poses, of which there is at least one. Positions are packed to millimetres, angles to 1e-8 radians,
/// times to 1e-4 seconds in version 1.0 and to 1e-6 in 1.2; to the nearest in 1.0, and as `KESOrientation` does in 1.2.
/// Blanks in the name become underlines, since readers end a text at a blank, and what is too long for its field is
/// cut. Throws std::runtime_error "can't write FILE".
void writeOdf(std::string const& file, OdfHead const& head, std::span<TimedPose const> poses);

}  // namespace simulation
