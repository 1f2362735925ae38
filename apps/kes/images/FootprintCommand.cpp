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
#include <iostream>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::string dem;
  std::vector<std::string> bands;
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

// Fewer than three points, and the first one again, have no area.
void closeRing(std::vector<geo::XYZPoint>& points) {
  constexpr std::size_t fewest = 4;
  auto const isSame = [](geo::XYZPoint const& a, geo::XYZPoint const& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  };
  if (!points.empty() && !isSame(points.front(), points.back())) {
    points.push_back(points.front());
  }
  if (points.size() < fewest) {
    points.clear();
  }
}

/// In WGS 84 degrees; points that the elevation model doesn't reach are left out.
struct Outline {
  std::vector<geo::XYZPoint> points;
  bool isComplete;
};

Outline outlineOf(kes::Strip const& strip, kes::Band const& band, kes::Surface const& surface) {
  std::vector<geo::XYPoint> const edges = edgesOf(band);
  std::vector<geo::XYZPoint> ground(edges.size());
  std::vector<kes::Status> status(edges.size());
  kes::ToGroundOptions toGround;
  toGround.system = kes::CoordinateSystem::wgs84Degrees();
  toGround.heights = surface;
  std::size_t const found = band.toGround(edges, toGround, ground, status);
  if (found == edges.size()) {
    return {ground, true};
  }
  Outline outline{{}, false};
  for (std::size_t i = 0; i < edges.size(); ++i) {
    if (kes::hasResult(status[i])) {
      outline.points.push_back(ground[i]);
    }
  }
  closeRing(outline.points);
  auto const bad =
      static_cast<std::size_t>(std::find_if_not(status.begin(), status.end(), kes::hasResult) - status.begin());
  std::cerr << "kes: warning: " << strip.fileName() << ": " << band.id() << ": " << edges.size() - found << " of "
            << edges.size() << " points of the outline have no place on the elevation model, the first at sample "
            << text(edges[bad].x) << ", line " << text(edges[bad].y) << " (" << kes::toString(status[bad])
            << "): " << (outline.points.empty() ? "the footprint is left out\n" : "they are left out\n");
  return outline;
}

int footprint(Options const& options) {
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem);
  kes::Surface const surface = kes::Surface::raster(options.dem);
  std::vector<Footprint> footprints;
  BandChoice choice(options.bands);
  StripSet(options.strips.files, options.strips.camera.opening()).forEach([&](kes::Strip const& strip, auto const*) {
    output.check(strip);
    for (kes::Band const& band : choice.of(strip)) {
      Outline const outline = outlineOf(strip, band, surface);
      if (!outline.points.empty()) {
        footprints.push_back({outline.points, strip.name(), band.id(), band.gsd(), band.startTime(), band.endTime(),
                              band.lookAngle() * degrees, outline.isComplete ? 1.0 : 0.0});
      }
    }
  });
  choice.requireAll();
  if (footprints.empty()) {
    throw std::runtime_error("no footprint lies on the elevation model");
  }
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
  addRepeatable(*command, "--band", options->bands, "ID", "Band id; repeatable [all bands]");
  command
      ->add_option("-o,--output", options->output,
                   "GeoJSON (.geojson, .json) or GeoPackage (.gpkg), in WGS 84; an older file is replaced")
      ->type_name("OUT")
      ->required()
      ->check([](std::string const& file) {
        return isFootprintFile(file) ? std::string() : file + " doesn't end in .geojson, .json or .gpkg";
      });
  command->footer(
      "Attributes: strip, band, gsd (metres), start and end (GPS seconds of the first and last line),\n"
      "look (angle of the view, degrees, forward positive), complete (0 where the outline leaves the model).\n"
      "Example: kes footprint flight/strip.stp --calibrations flight/calibration --dem dem.tif -o "
      "footprints.gpkg");
  command->callback([options, &run] { run = [options] { return footprint(*options); }; });
}

}  // namespace tool
