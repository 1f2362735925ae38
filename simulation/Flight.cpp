// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/Flight.h>
#include <simulation/Images.h>
#include <simulation/Output.h>
#include <simulation/StripProject.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>
#include <simulation/Truth.h>

#include <files/NewFolder.h>
#include <memory>

namespace simulation {

namespace {

void writeTruth(FlightPlan const& plan, WrittenStrip const& strip, std::string const& folder) {
  CameraHead const head(plan.samples);
  Truth truth;
  truth.navigation = plan.errors->navigation;
  truth.trueCamera = head.sensorId();
  truth.recordedCamera = head.recorded(strip.errors.camera()).sensorId();
  truth.strips = {{plan.name, strip.files, strip.errors}};
  truth.write(folder);
}

}  // namespace

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
  CameraErrors const camera = cameraErrorsOf(plan);
  WrittenStrip strip = writeStripProject(plan, terrain, {output.path(), absoluteFolder(folder)}, camera,
                                         [&](double done) { report(projectPart * done); });
  FlightFiles& written = strip.files;
  writeCalibrations(plan, CameraHead(plan.samples), camera, output.path() + "/" + written.calibrations);
  if (plan.errors) {
    written.truth = Truth::fileName;
    writeTruth(plan, strip, output.path());
  }
  if (hasImages) {
    written.images = renderImages(plan, output.path(), trueStrip(plan, output.path(), written), terrain, *texture,
                                  [&](double done) { report(projectPart + (1.0 - projectPart) * done); });
  }
  output.keep();
  return written;
}

}  // namespace simulation
