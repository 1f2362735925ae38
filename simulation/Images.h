// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/Flight.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>

#include <memory>
#include <string>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// The bands that a plan has rendered, each once, in the camera's order. Throws std::runtime_error "no band \"ID\" in
/// the camera, which has ..." for one that it doesn't know.
std::vector<std::string> renderedBands(FlightPlan const& plan);

/// The strip of a flight that was written into a folder, with its data loaded and the orientation that the camera had.
/// The flight's calibrations join those that the process searches. Throws what reading a strip throws, and
/// std::runtime_error "another camera is in use: KESA0_ID" when the process knows one of other samples under this id.
std::unique_ptr<sensor::KESStripModel> trueStrip(FlightPlan const& plan, std::string const& folder,
                                                 FlightFiles const& files);

/// Renders the plan's images of a flight that was written into a folder, each with its statistics, and returns their
/// names relative to it. Throws std::runtime_error "can't write FILE", and what terrain, texture, statistics and
/// `trueStrip` throw; an image is then there as a whole or not at all.
std::vector<std::string> renderImages(FlightPlan const& plan, std::string const& folder, FlightFiles const& files,
                                      Terrain const& terrain, Texture const& texture, Progress const& progress);

}  // namespace simulation
