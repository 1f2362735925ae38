#pragma once

#include <simulation/Flight.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>
#include <string>

namespace simulation {

/// Flies a strip and writes its project into a folder: all that `simulateFlight` writes, but for camera and images. The plan is
/// one that can be flown. Throws as that does.
FlightFiles writeStripProject(FlightPlan const& plan, Terrain const& terrain, std::string const& folder,
                              Progress const& progress);

}  // namespace simulation
