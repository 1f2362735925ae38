// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "images/FootprintFile.h"
#include "images/Outline.h"
#include "shared/InputGuard.h"
#include "shared/StripSet.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/kessensor.h>

#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::string dem;
  std::string output;
};

Footprint footprintOf(sensor::KESStripModel const& strip, int band, dsm::ProjectedElevationSource& surface) {
  sensor::KESImage const& image = *strip.img(band);
  float const lastLine = static_cast<float>(strip.imageHeight(band)) - 1.0F;
  return {outlineOf(strip, band, surface),
          strip.name(),
          strip.bandID(band),
          static_cast<double>(strip.gsd(band)),
          image.cameraTime()->gpsTime(0.0F).value(),
          image.cameraTime()->gpsTime(lastLine).value()};
}

void addFootprints(sensor::KESStripModel const& strip, dsm::ProjectedElevationSource& surface,
                   std::vector<Footprint>& footprints) {
  for (int band = 0; band < strip.numBands(); ++band) {
    try {
      footprints.push_back(footprintOf(strip, band, surface));
    } catch (std::runtime_error const& error) {
      throw std::runtime_error(strip.modelData()->fileName() + ": " + error.what());
    }
  }
}

int footprint(Options const& options) {
  options.strips.camera.apply();
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem);
  dsm::RasterElevationSource surface(options.dem);
  std::unique_ptr<geo::coordSys> const map(geo::coordSysFactory::getInstance()->createGEO84(true, false));
  std::vector<Footprint> footprints;
  StripSet(options.strips.files).forEach(false, [&](sensor::KESStripModel& strip) {
    output.check(strip);
    strip.setMappingSystem(map.get());
    addFootprints(strip, surface, footprints);
  });
  writeFootprints(options.output, footprints);
  return 0;
}

}  // namespace

void addFootprint(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("footprint", "Writes the footprints of all bands on the terrain");
  options->strips.addTo(*command);
  command->add_option("--dem", options->dem, "Elevation model, any raster that GDAL reads")
      ->type_name("FILE")
      ->required();
  command
      ->add_option("-o,--output", options->output,
                   "GeoJSON (.geojson, .json) or GeoPackage (.gpkg), in WGS 84; an older file is replaced")
      ->type_name("OUT")
      ->required()
      ->check([](std::string const& file) {
        return isFootprintFile(file) ? std::string() : file + " doesn't end in .geojson, .json or .gpkg";
      });
  command->footer("Attributes: strip, band, gsd (metres), start and end (GPS seconds of the first and last line).\n"
                  "Example: kes footprint flight/strip.stp --calibrations flight/calibration --dem dem.tif -o "
                  "footprints.gpkg");
  command->callback([options, &run] { run = [options] { return footprint(*options); }; });
}

}  // namespace tool
