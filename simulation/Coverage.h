// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/CameraHead.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>

namespace simulation {

/// Throws std::runtime_error "strip \"NAME\" leaves the elevation model FILE at longitude L, latitude B" when there is
/// no terrain along the outline of what the camera's lines see of level ground, with a margin for the aircraft's
/// motions. Holes inside are legal.
void requireTerrain(FlightPlan const& plan, CameraHead const& head, Terrain const& terrain);

}  // namespace simulation
