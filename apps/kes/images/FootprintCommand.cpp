// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "images/Outlines.h"
#include "shared/ElevationModel.h"
#include "shared/InputGuard.h"
#include "shared/StripSet.h"

#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  ElevationModelOptions dem;
  MapOptions map;
  std::vector<std::string> bands;
  int every = 0;
  std::string output;
};

int footprint(Options const& options) {
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem.file);
  Ground const ground{options.dem.open(), options.map.system()};
  std::vector<Footprint> footprints;
  std::vector<ImageLine> lines;
  BandChoice choice(options.bands);
  StripSet(options.strips.files, options.strips.camera.opening()).forEach([&](kes::Strip const& strip, auto const*) {
    output.check(strip);
    for (kes::Band const& band : choice.of(strip)) {
      if (std::optional<Footprint> found = footprintOf(strip, band, ground)) {
        footprints.push_back(*std::move(found));
      }
      if (options.every > 0) {
        std::vector<ImageLine> more = linesOf(strip, band, ground, options.every);
        lines.insert(lines.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
      }
    }
  });
  choice.requireAll();
  if (footprints.empty()) {
    throw std::runtime_error("no footprint lies on the elevation model");
  }
  std::vector<VectorLayer> layers{layerOf(footprints)};
  if (options.every > 0) {
    layers.push_back(layerOf(lines));
  }
  writeLayers(options.output, options.map.crs, layers);
  return 0;
}

// GeoJSON has one layer, in WGS 84 always.
void requireGeoPackage(Options const& options) {
  if (isGeoPackage(options.output)) {
    return;
  }
  if (!options.map.crs.empty()) {
    throw CLI::ValidationError("--crs", "needs a GeoPackage (.gpkg): GeoJSON is in WGS 84 longitude and latitude");
  }
  if (options.every > 0) {
    throw CLI::ValidationError("--every", "needs a GeoPackage (.gpkg): GeoJSON holds one layer");
  }
}

}  // namespace

void addFootprint(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("footprint", "Writes the footprints of all bands on the terrain");
  options->strips.addTo(*command);
  options->dem.addTo(*command, "Elevation model, any raster that GDAL reads")->required();
  options->map.addTo(*command);
  addRepeatable(*command, "--band", options->bands, "ID", "Band id; repeatable [all bands]");
  command
      ->add_option("--every", options->every, "Write the ground of each Nth line and of the last one, too, as a layer")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000000));
  command
      ->add_option("-o,--output", options->output,
                   "GeoJSON (.geojson, .json) or GeoPackage (.gpkg); an older file is replaced")
      ->type_name("OUT")
      ->required()
      ->check([](std::string const& file) {
        return isVectorFile(file) ? std::string() : file + " doesn't end in .geojson, .json or .gpkg";
      });
  command->footer(
      "Attributes: strip, band, gsd (metres), start and end (GPS seconds of the first and last line),\n"
      "look (angle of the view, degrees, forward positive), complete (0 where the outline leaves the model),\n"
      "week and day (GPS time, where known), duration, height (mean), azimuth, lines, samples, orientation.\n"
      "Example: kes footprint flight/strip.stp --calibrations flight/calibration --dem dem.tif -o "
      "footprints.gpkg");
  command->callback([options, &run] {
    requireGeoPackage(*options);
    run = [options] { return footprint(*options); };
  });
}

}  // namespace tool
