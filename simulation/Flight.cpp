// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/Flight.h>
#include <simulation/Images.h>
#include <simulation/Output.h>
#include <simulation/StripProject.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>

#include <files/NewFolder.h>
#include <memory>

namespace simulation {

// Images are most of the work.
FlightFiles simulateFlight(FlightPlan const& plan, std::string const& folder, Progress const& progress) {
  plan.validate();
  bool const hasImages = !renderedBands(plan).empty();
  double const projectPart = hasImages ? 0.1 : 1.0;
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  Terrain const terrain(plan.dem, {plan.vertical});
  std::unique_ptr<Texture const> const texture = hasImages ? makeTexture(plan, terrain) : nullptr;
  files::NewFolder output(folder);
  FlightFiles written = writeStripProject(plan, terrain, {output.path(), absoluteFolder(folder)},
                                          [&](double done) { report(projectPart * done); });
  writeCalibrations(plan, CameraHead(plan.samples), output.path() + "/" + written.calibrations);
  if (hasImages) {
    written.images = renderImages(plan, output.path(), trueStrip(plan, output.path(), written), terrain, *texture,
                                  [&](double done) { report(projectPart + (1.0 - projectPart) * done); });
  }
  output.keep();
  return written;
}

}  // namespace simulation
