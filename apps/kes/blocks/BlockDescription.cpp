// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockFile.h"
#include "shared/Opening.h"

#include <geo/coordSys.h>
#include <kes/Block.h>
#include <sensor/kessensor.h>

#include <iostream>

namespace tool {

namespace {

BlockStrip describe(kes::Strip const& strip) {
  sensor::KESStripModelData const& data = *strip.model().modelData();
  return {strip.name(),
          data.fileName(),
          data.sensorType(),
          data.sensorId(),
          data.cameraVersion(),
          strip.model().eopFileName(),
          strip.usesAdjustedOrientation(),
          strip.bandIds()};
}

Json toJson(BlockGroundPoints const& points) {
  return {{"file", points.file},
          {"coordinateSystem", points.crs ? Json(*points.crs) : Json()},
          {"points", points.isRead ? Json(points.points.numPoints()) : Json()}};
}

std::string textOf(BlockGroundPoints const& points) {
  if (points.file.find_first_not_of(' ') == std::string::npos) {
    return "none";
  }
  return points.file +
         (points.isRead ? ", " + std::to_string(points.points.numPoints()) + " points" : ", can't be read");
}

void add(Listing& listing, std::string const& name, std::vector<std::string> const& files) {
  for (std::string const& file : files) {
    listing.add(name, file);
  }
}

}  // namespace

Json toJson(BlockStrip const& strip) {
  return {{"name", strip.name},
          {"file", strip.file},
          {"camera", {{"type", strip.cameraType}, {"sensorId", strip.sensorId}, {"version", strip.cameraVersion}}},
          {"eop", {{"file", strip.eopFile}, {"adjusted", strip.isAdjusted}}},
          {"bands", strip.bands}};
}

BlockGroundPoints groundPointsOf(std::string const& file) {
  sensor::BlockModelData block(file, false, false, false);
  bool const isRead = block.loadGroundPoints() == 0;
  geo::coordSys const* const system = block.groundPointCoordSys();
  return {block.groundPointFile(), isRead, block.groundPoints(),
          system != nullptr ? std::optional(system->definition()) : std::nullopt};
}

BlockDescription describeBlock(std::string const& file, CameraOptions const& camera) {
  kes::StripOptions opening = camera.opening();
  opening.load = false;
  kes::Block const block = openBlock(file, opening);
  BlockDescription description{block.model().displayName(),
                               file,
                               block.model().description(),
                               block.model().dataPath(),
                               block.mapSystem().definition(),
                               {},
                               block.elevationFiles(),
                               block.model().referenceImageNames(),
                               groundPointsOf(file)};
  for (kes::Strip const& strip : block.strips()) {
    description.strips.push_back(describe(strip));
  }
  return description;
}

Json toJson(BlockDescription const& block) {
  return {{"name", block.name},
          {"file", block.file},
          {"description", block.description},
          {"dataPath", block.dataPath},
          {"coordinateSystem", block.coordinateSystem},
          {"strips", arrayOf(block.strips)},
          {"elevationModels", block.elevationModels},
          {"referenceImages", block.referenceImages},
          {"groundPoints", toJson(block.groundPoints)}};
}

void printText(BlockDescription const& block) {
  Listing listing;
  listing.add("block", block.name);
  if (!block.description.empty()) {
    listing.add("description", block.description);
  }
  listing.add("data path", block.dataPath);
  listing.add("coordinate system", block.coordinateSystem);
  add(listing, "elevation model", block.elevationModels);
  add(listing, "reference image", block.referenceImages);
  listing.add("ground points", textOf(block.groundPoints));
  listing.print();
  std::cout << '\n';
  std::vector<std::vector<std::string>> rows{{"strip", "camera", "orientation", "file", "bands"}};
  for (BlockStrip const& strip : block.strips) {
    rows.push_back({strip.name, joined({strip.cameraType, strip.sensorId, strip.cameraVersion}, " "),
                    strip.isAdjusted ? "adjusted" : "original", strip.file, joined(strip.bands, " ")});
  }
  printTable(rows);
}

}  // namespace tool
