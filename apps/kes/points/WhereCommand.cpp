// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "points/Plausibility.h"
#include "shared/ElevationModel.h"
#include "shared/Numbers.h"
#include "shared/StripSet.h"
#include "strips/GroundSampling.h"

#include <kes/Surface.h>
#include <kes/Trajectory.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  std::string file;
  CameraOptions camera;
  double x = 0.0;
  double y = 0.0;
  std::optional<double> z;
  MapOptions map;
  ElevationModelOptions dem;
  bool json = false;
};

/// An image that shows the point.
struct Sighting {
  std::string strip;
  std::string band;
  geo::XYPoint image;
  double fromEdge;  ///< Pixels to the nearest edge of the image.
  double time;      ///< GPS seconds.
  double azimuth;   ///< Of the direction in which the camera looked, from north over east; degrees.
  double zenith;    ///< Between that direction and straight down; degrees.
  GroundSampling gsd;
  std::optional<bool> isHidden;  ///< By the terrain; nothing without an elevation model.
};

// The elevation model's surface on the line of sight lies in front of the point by more than this.
constexpr double hidingDistance = 2.0;  // pixels

class Point {
public:
  explicit Point(Options const& options) : mSystem(options.map.system()) {
    if (options.dem.isGiven()) {
      mSurface = options.dem.open();
    }
    mPosition = {options.x, options.y, options.z ? *options.z : heightOf(options)};
  }

  kes::CoordinateSystem const& system() const { return mSystem; }
  geo::XYZPoint const& position() const { return mPosition; }

  std::optional<Sighting> seenBy(kes::Strip const& strip, kes::Band const& band) const {
    auto const [image, status] = imageOn(band);
    geo::XYZPoint local;
    if (status != kes::Status::ok || mSystem.transform(strip.localSystem(), {&mPosition, 1}, {&local, 1}) != 1) {
      return std::nullopt;
    }
    double time = 0.0;
    kes::ToImageOptions toImage;
    toImage.outputs.time = {&time, 1};
    geo::XYPoint again;
    kes::Status againStatus{};
    band.toImage({&local, 1}, toImage, {&again, 1}, {&againStatus, 1});
    geo::XYZPoint const eye = strip.trajectory().at(time)->position;
    double const east = local.x - eye.x;
    double const north = local.y - eye.y;
    double const azimuth = std::atan2(east, north) * degrees;
    Sighting sighting{
        strip.name(),
        band.id(),
        image,
        std::min({image.x + 0.5, band.samples() - 0.5 - image.x, image.y + 0.5, band.lines() - 0.5 - image.y}),
        time,
        azimuth < 0.0 ? azimuth + 360.0 : azimuth,
        std::atan2(std::hypot(east, north), eye.z - local.z) * degrees,
        groundSamplingAt(band, image, local.z),
        {}};
    if (mSurface) {
      sighting.isHidden = isHidden(strip, band, image, local, sighting.gsd);
    }
    return sighting;
  }

private:
  // Metres, on the elevation model.
  double heightOf(Options const& options) const {
    if (!mSurface) {
      throw std::runtime_error("the point has no height: give Z or --dem");
    }
    geo::XYZPoint const flat(options.x, options.y, 0.0);
    geo::XYZPoint onModel;
    double height = 0.0;
    mSystem.transform(mSurface->coordinateSystem(), {&flat, 1}, {&onModel, 1});
    if (mSurface->heights({&onModel, 1}, {&height, 1}) != 1) {
      throw std::runtime_error("the elevation model has no height at the point");
    }
    onModel.z = height;
    geo::XYZPoint position;
    mSurface->coordinateSystem().transform(mSystem, {&onModel, 1}, {&position, 1});
    return position.z;
  }

  kes::Band::InImage imageOn(kes::Band const& band) const {
    kes::ToImageOptions toImage;
    toImage.system = mSystem;
    return band.toImage(mPosition, toImage);
  }

  // The line of sight ends on the terrain before it comes to the point.
  bool isHidden(kes::Strip const& strip, kes::Band const& band, geo::XYPoint const& image, geo::XYZPoint const& local,
                GroundSampling const& gsd) const {
    kes::ToGroundOptions toGround;
    toGround.heights = *mSurface;
    auto const [hit, status] = band.toGround(image, toGround);
    return kes::hasResult(status) && hit.z > local.z && strip.meanFlyingHeight() > hit.z &&
           std::hypot(hit.x - local.x, hit.y - local.y) > hidingDistance * std::fmax(gsd.across, gsd.along);
  }

  kes::CoordinateSystem mSystem;
  std::optional<kes::Surface> mSurface;
  geo::XYZPoint mPosition;
};

Json toJson(Sighting const& sighting) {
  return {{"strip", sighting.strip},
          {"band", sighting.band},
          {"sample", sighting.image.x},
          {"line", sighting.image.y},
          {"fromEdge", sighting.fromEdge},
          {"time", sighting.time},
          {"azimuth", sighting.azimuth},
          {"zenith", sighting.zenith},
          {"gsdAcross", sighting.gsd.across},
          {"gsdAlong", sighting.gsd.along},
          {"hidden", sighting.isHidden ? Json(*sighting.isHidden) : Json()}};
}

void printText(std::vector<Sighting> const& sightings) {
  std::vector<std::vector<std::string>> rows{{"strip", "band", "sample", "line", "from edge px", "time s",
                                              "azimuth deg", "zenith deg", "GSD across m", "along m", "hidden"}};
  for (Sighting const& sighting : sightings) {
    rows.push_back({sighting.strip, sighting.band, fixed(sighting.image.x, 3), fixed(sighting.image.y, 3),
                    fixed(sighting.fromEdge, 0), fixed(sighting.time, 6), fixed(sighting.azimuth, 3),
                    fixed(sighting.zenith, 3), fixed(sighting.gsd.across, 4), fixed(sighting.gsd.along, 4),
                    !sighting.isHidden   ? "-"
                    : *sighting.isHidden ? "yes"
                                         : "no"});
  }
  printTable(rows);
}

int where(Options const& options) {
  Point const point(options);
  std::vector<Sighting> sightings;
  std::string doubt;
  StripSet({options.file}, options.camera.opening()).forEach([&](kes::Strip const& strip, auto const*) {
    for (std::string const& id : strip.bandIds()) {
      kes::Band const band = strip.band(id);
      if (auto const sighting = point.seenBy(strip, band)) {
        sightings.push_back(*sighting);
      }
    }
    if (sightings.empty() && doubt.empty() && strip.bandCount() > 0) {
      doubt = doubtAbout(point.position(), point.system(), strip, strip.band(0));
    }
  });
  if (options.json) {
    print({{"position", {{"x", options.x}, {"y", options.y}, {"z", point.position().z}}},
           {"crs", options.map.name()},
           {"images", arrayOf(sightings)}});
  }
  if (sightings.empty()) {
    throw std::runtime_error("no image shows the point" + (doubt.empty() ? "" : ", which " + doubt));
  }
  if (!options.json) {
    printText(sightings);
  }
  return 0;
}

}  // namespace

void addWhere(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("where", "Lists the images that show a point on the ground");
  command->add_option("BLOCK|STRIP", options->file, "Block or strip file")->required();
  command->add_option("X", options->x, "Easting or longitude")->required();
  command->add_option("Y", options->y, "Northing or latitude")->required();
  command->add_option("Z", options->z, "Height [that of the elevation model]");
  options->map.addTo(*command);
  options->dem.addTo(*command,
                     "Elevation model, any raster that GDAL reads: for the height, and for what hides the point");
  options->camera.addTo(*command);
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes where valley/valley.blf 15.583 48.092 --dem dem.tif");
  command->callback([options, &run] { run = [options] { return where(*options); }; });
}

}  // namespace tool
