// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "images/FootprintFile.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/StripSet.h"

#include <kes/Surface.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::string dem;
  std::string output;
};

constexpr int pointsPerSide = 64;

// The outer edges of the pixels, all around; the last point is the first.
std::vector<geo::XYPoint> edgesOf(kes::Band const& band) {
  double const right = band.samples() - 0.5;
  double const bottom = band.lines() - 0.5;
  std::array<geo::XYPoint, 5> const corners{
      {{-0.5, -0.5}, {right, -0.5}, {right, bottom}, {-0.5, bottom}, {-0.5, -0.5}}};
  std::vector<geo::XYPoint> edges;
  for (std::size_t side = 0; side + 1 < corners.size(); ++side) {
    geo::XYPoint const& from = corners[side];
    geo::XYPoint const& to = corners[side + 1];
    for (int i = 0; i < pointsPerSide; ++i) {
      double const part = static_cast<double>(i) / pointsPerSide;
      edges.emplace_back(from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part);
    }
  }
  edges.push_back(edges.front());
  return edges;
}

// In WGS 84 degrees.
std::vector<geo::XYZPoint> outlineOf(kes::Strip const& strip, kes::Band const& band, kes::Surface const& surface) {
  std::vector<geo::XYPoint> const edges = edgesOf(band);
  std::vector<geo::XYZPoint> outline(edges.size());
  std::vector<kes::Status> status(edges.size());
  kes::ToGroundOptions toGround;
  toGround.system = kes::CoordinateSystem::wgs84Degrees();
  toGround.heights = surface;
  band.toGround(edges, toGround, outline, status);
  auto const bad = std::find_if_not(status.begin(), status.end(), kes::hasResult);
  if (bad != status.end()) {
    geo::XYPoint const& edge = edges[static_cast<std::size_t>(bad - status.begin())];
    throw std::runtime_error(strip.fileName() + ": " + band.id() + ", sample " + text(edge.x) + ", line " +
                             text(edge.y) + ": the ray has no end on the elevation model (" +
                             std::string(kes::toString(*bad)) + ")");
  }
  return outline;
}

int footprint(Options const& options) {
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem);
  kes::Surface const surface = kes::Surface::raster(options.dem);
  std::vector<Footprint> footprints;
  StripSet(options.strips.files, options.strips.camera.opening()).forEach([&](kes::Strip const& strip, auto const*) {
    output.check(strip);
    for (std::string const& id : strip.bandIds()) {
      kes::Band const band = strip.band(id);
      footprints.push_back(
          {outlineOf(strip, band, surface), strip.name(), band.id(), band.gsd(), band.startTime(), band.endTime()});
    }
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
