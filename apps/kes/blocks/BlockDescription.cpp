// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockFile.h"
#include "shared/StripSet.h"

#include <geo/coordSys.h>
#include <sensor/kessensor.h>

#include <QFile>
#include <QXmlStreamReader>

#include <iostream>

namespace tool {

namespace {

Json describeStrip(sensor::BlockModelData const& block, std::string const& name) {
  sensor::KESStripModel const& strip = stripOf(block, name);
  sensor::KESStripModelData const& data = *strip.modelData();
  std::vector<std::string> bands;
  strip.bandIDs(bands);
  return {{"name", name},
          {"file", data.fileName()},
          {"camera", {{"type", data.sensorType()}, {"sensorId", data.sensorId()}, {"version", data.cameraVersion()}}},
          {"eop", {{"file", strip.eopFileName()}, {"adjusted", strip.isUseAdjustedEOP()}}},
          {"bands", bands}};
}

Json describeGroundPoints(sensor::BlockModelData& block) {
  bool const isRead = block.loadGroundPoints() == 0;
  geo::coordSys const* const system = block.groundPointCoordSys();
  return {{"file", block.groundPointFile()},
          {"coordinateSystem", system != nullptr ? Json(system->definition()) : Json()},
          {"points", isRead ? Json(block.groundPoints().numPoints()) : Json()}};
}

std::string joined(Json const& texts) {
  std::string all;
  for (Json const& text : texts) {
    all += (all.empty() ? "" : " ") + text.get<std::string>();
  }
  return all;
}

void add(Listing& listing, std::string const& name, Json const& files) {
  for (Json const& file : files) {
    listing.add(name, file.get<std::string>());
  }
}

std::string groundPointsText(Json const& points) {
  std::string const file = points["file"].get<std::string>();
  if (file.find_first_not_of(' ') == std::string::npos) {
    return "none";
  }
  return file + (points["points"].is_null() ? ", can't be read"
                                            : ", " + std::to_string(points["points"].get<int>()) + " points");
}

void printStrips(Json const& strips) {
  std::vector<std::vector<std::string>> rows{{"strip", "camera", "orientation", "file", "bands"}};
  for (Json const& strip : strips) {
    Json const& camera = strip["camera"];
    rows.push_back({strip["name"].get<std::string>(),
                    camera["type"].get<std::string>() + " " + camera["sensorId"].get<std::string>() + " " +
                        camera["version"].get<std::string>(),
                    strip["eop"]["adjusted"].get<bool>() ? "adjusted" : "original", strip["file"].get<std::string>(),
                    joined(strip["bands"])});
  }
  printTable(rows);
}

}  // namespace

int listedStrips(std::string const& file) {
  QFile input(QString::fromStdString(file));
  int count = 0;
  if (input.open(QIODevice::ReadOnly)) {
    QXmlStreamReader reader(&input);
    while (!reader.atEnd()) {
      count += reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("Strip");
    }
  }
  return count;
}

Json describeBlock(std::string const& file) {
  sensor::BlockModelData block(file, false, false, false);
  std::vector<std::string> names;
  block.stripNames(names);
  Json strips = Json::array();
  for (std::string const& name : names) {
    strips.push_back(describeStrip(block, name));
  }
  return {{"name", block.displayName()},
          {"file", file},
          {"description", block.description()},
          {"dataPath", block.dataPath()},
          {"coordinateSystem", block.coordSys()->definition()},
          {"strips", strips},
          {"elevationModels", block.elevationSourceNames()},
          {"referenceImages", block.referenceImageNames()},
          {"groundPoints", describeGroundPoints(block)}};
}

void printBlock(Json const& block) {
  Listing listing;
  listing.add("block", block["name"].get<std::string>());
  if (std::string const description = block["description"].get<std::string>(); !description.empty()) {
    listing.add("description", description);
  }
  listing.add("data path", block["dataPath"].get<std::string>());
  listing.add("coordinate system", block["coordinateSystem"].get<std::string>());
  add(listing, "elevation model", block["elevationModels"]);
  add(listing, "reference image", block["referenceImages"]);
  listing.add("ground points", groundPointsText(block["groundPoints"]));
  listing.print();
  std::cout << '\n';
  printStrips(block["strips"]);
}

}  // namespace tool
