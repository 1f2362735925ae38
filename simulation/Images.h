// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <simulation/Flight.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>

#include <string>
#include <vector>

namespace simulation {

/// The bands that a plan has rendered, each once, in the camera's order. Throws std::runtime_error "no band \"ID\" in
/// the camera, which has ..." for one that it doesn't know.
std::vector<std::string> renderedBands(FlightPlan const& plan);

/// The strip of a flight that was written into a folder, with the orientation that the camera had. A strip file that
/// names this one is in the folder while it is read. The flight's calibrations join those that the process searches.
/// Throws what `kes::Strip` throws, std::runtime_error "can't read FILE" and "can't write FILE", and "another camera is
/// in use: KESA0_ID" when the process knows one of other samples under this id.
kes::Strip trueStrip(FlightPlan const& plan, std::string const& folder, FlightFiles const& files);

/// Renders the plan's images of a flight that was written into a folder, from its true strip, each with its statistics,
/// and returns their names relative to the folder. Throws std::runtime_error "can't write FILE", and what terrain,
/// texture and statistics throw; an image is then there as a whole or not at all.
std::vector<std::string> renderImages(FlightPlan const& plan, std::string const& folder, kes::Strip const& strip,
                                      Terrain const& terrain, Texture const& texture, Progress const& progress);

}  // namespace simulation
