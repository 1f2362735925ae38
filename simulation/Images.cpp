#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <filesystem>
#include <simulation/CameraHead.h>
#include <simulation/ImageFile.h>
#include <simulation/Images.h>
#include <simulation/Renderer.h>
#include <stdexcept>

namespace simulation {

namespace {

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

void writeStatistics(std::string const& image) {
  raster::Statistics statistics(0, 50, 100, 1, 1.0F);
  statistics.compute(image);
  statistics.save(image.substr(0, image.rfind('.')) + ".stat");
}

}  // namespace

std::vector<std::string> renderedBands(FlightPlan const& plan) {
  std::vector<std::string> const& wanted = plan.renderedBands;
  auto const isWanted = [&](std::string const& id) { return std::count(wanted.begin(), wanted.end(), id) > 0; };
  std::vector<std::string> const known = CameraHead::bandIds();
  std::vector<std::string> bands;
  std::string list;
  for (std::string const& id : known) {
    list += (list.empty() ? "" : ", ") + id;
    if (isWanted(FlightPlan::allBands) || isWanted(id)) {
      bands.push_back(id);
    }
  }
  for (std::string const& id : wanted) {
    if (id != FlightPlan::allBands && std::count(known.begin(), known.end(), id) == 0) {
      throw std::runtime_error("no band \"" + id + "\" in the camera, which has " + list);
    }
  }
  return bands;
}

std::unique_ptr<sensor::KESStripModel> trueStrip(FlightPlan const& plan, std::string const& folder,
                                                 FlightFiles const& files) {
  sensor::CameraFactory::instance()->addSearchPath(folder + "/" + files.calibrations);
  auto strip = std::make_unique<sensor::KESStripModel>(folder + "/" + files.strip, true, true, false);
  if (strip->modelData()->calib(0)->numSamples() != static_cast<unsigned int>(plan.samples)) {
    throw std::runtime_error(std::string("the camera of another flight is in use: ") + CameraHead::type + "_" +
                             CameraHead::sensorId);
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
    images.push_back(std::filesystem::path(name).lexically_relative(folder).string());
  }
  return images;
}

}  // namespace simulation
