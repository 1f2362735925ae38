// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Coverage.h>
#include <simulation/FlightFrame.h>

#include <QString>

#include <array>
#include <files/Angles.h>
#include <stdexcept>

namespace simulation {

namespace {

// A corner of the outline, metres ahead of the strip's middle and to its left.
struct Corner {
  double ahead;
  double left;
};

std::array<Corner, 4> cornersOf(FlightPlan const& plan, FlightFrame const& frame, CameraHead const& head) {
  // Tilts of some degrees at most, and drifts of some metres.
  double const margin = 0.04 * plan.height + 30.0;
  double const front = frame.halfLength() + head.lookAhead() * plan.height + margin;
  double const back = -frame.halfLength() - head.lookBack() * plan.height - margin;
  double const side = frame.halfWidth() + margin;
  return {{{front, side}, {front, -side}, {back, -side}, {back, side}}};
}

[[noreturn]] void fail(FlightPlan const& plan, geo::XYZPoint const& lonLat) {
  throw std::runtime_error("strip \"" + plan.name + "\" leaves the elevation model " + plan.dem + " at longitude " +
                           QString::number(lonLat.x / files::radiansPerDegree, 'f', 5).toStdString() + ", latitude " +
                           QString::number(lonLat.y / files::radiansPerDegree, 'f', 5).toStdString());
}

}  // namespace

void requireTerrain(FlightPlan const& plan, CameraHead const& head, Terrain const& terrain) {
  constexpr int steps = 50;
  FlightFrame const frame(plan, terrain);
  std::array<Corner, 4> const corners = cornersOf(plan, frame, head);
  for (std::size_t side = 0; side < corners.size(); ++side) {
    Corner const& from = corners[side];
    Corner const& to = corners[(side + 1) % corners.size()];
    for (int i = 0; i < steps; ++i) {
      double const w = static_cast<double>(i) / steps;
      geo::XYZPoint const place =
          frame.lonLat(from.ahead + (to.ahead - from.ahead) * w, from.left + (to.left - from.left) * w);
      if (!terrain.height(place)) {
        fail(plan, place);
      }
    }
  }
}

}  // namespace simulation
