// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <simulation/CameraHead.h>
#include <simulation/ImageFile.h>
#include <simulation/Images.h>
#include <simulation/Renderer.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace simulation {

namespace {

bool contains(std::vector<std::string> const& ids, std::string const& id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

[[noreturn]] void failUnknown(std::string const& id, std::vector<std::string> const& known) {
  std::string message = "no band \"" + id + "\" in the camera, which has ";
  for (std::string const& other : known) {
    message.append(&other == known.data() ? "" : ", ").append(other);
  }
  throw std::runtime_error(message);
}

void writeImage(Renderer const& renderer, std::string const& name, int threads, Progress const& progress) {
  int const height = renderer.height();
  ImageFile file(name, renderer.width(), height);
  for (int row = 0; row < height; row += ImageFile::tileSize) {
    int const count = std::min(ImageFile::tileSize, height - row);
    file.write(renderer.rows(row, count, threads));
    progress(static_cast<double>(row + count) / height);
  }
  file.finish();
}

void searchCalibrations(std::string const& folder) {
  sensor::CameraFactory& cameras = *sensor::CameraFactory::instance();
  if (!contains(cameras.searchPaths(), folder)) {
    cameras.addSearchPath(folder);
  }
}

void writeStatistics(std::string const& image) {
  raster::Statistics statistics(0, 50, 100, 1, 1.0F);
  statistics.compute(image);
  statistics.save(image.substr(0, image.rfind('.')) + ".stat");
}

}  // namespace

std::vector<std::string> renderedBands(FlightPlan const& plan) {
  std::vector<std::string> const known = CameraHead::bandIds();
  for (std::string const& id : plan.renderedBands) {
    if (id != FlightPlan::allBands && !contains(known, id)) {
      failUnknown(id, known);
    }
  }
  std::vector<std::string> bands;
  std::copy_if(known.begin(), known.end(), std::back_inserter(bands), [&](std::string const& id) {
    return contains(plan.renderedBands, FlightPlan::allBands) || contains(plan.renderedBands, id);
  });
  return bands;
}

std::unique_ptr<sensor::KESStripModel> trueStrip(FlightPlan const& plan, std::string const& folder,
                                                 FlightFiles const& files) {
  searchCalibrations((std::filesystem::path(folder) / files.calibrations).lexically_normal().string());
  auto strip = std::make_unique<sensor::KESStripModel>(folder + "/" + files.strip, true, true, false);
  if (strip->modelData()->calib(0)->numSamples() != static_cast<unsigned int>(plan.samples)) {
    throw std::runtime_error(std::string("another camera is in use: ") + CameraHead::type + "_" +
                             CameraHead::sensorId(plan.samples));
  }
  *strip->eop() = sensor::EOPData(folder + "/" + files.trueEop);
  return strip;
}

std::vector<std::string> renderImages(FlightPlan const& plan, std::string const& folder, FlightFiles const& files,
                                      Terrain const& terrain, Texture const& texture, Progress const& progress) {
  auto const strip = trueStrip(plan, folder, files);
  std::vector<std::string> const bands = renderedBands(plan);
  std::vector<std::string> images;
  for (std::string const& id : bands) {
    int const band = strip->bandIndex(id);
    std::string const name = strip->modelData()->imageDataLocation() + "/" + strip->img(band)->imageFileName();
    Renderer const renderer(*strip, band, terrain, texture);
    auto const done = static_cast<double>(images.size());
    auto const count = static_cast<double>(bands.size());
    writeImage(renderer, name, plan.threads, [&](double part) { progress((done + part) / count); });
    writeStatistics(name);
    images.push_back(std::filesystem::relative(name, folder).string());
  }
  return images;
}

}  // namespace simulation
