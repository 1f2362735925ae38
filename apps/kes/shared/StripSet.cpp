// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/StripSet.h"

#include <sensor/kessensor.h>

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <iostream>
#include <stdexcept>

namespace tool {

namespace {

void forEachOfBlock(std::string const& file, bool useOriginalEop, StripSet::Work const& work) {
  sensor::BlockModelData const block(file, false, useOriginalEop, false);
  std::vector<std::string> names;
  block.stripNames(names);
  for (std::string const& name : names) {
    sensor::KESStripModel& strip = stripOf(block, name);
    strip.loadData(useOriginalEop, false);
    work(strip);
    strip.unloadData();
  }
}

}  // namespace

void StripsOptions::addTo(CLI::App& command) {
  command.add_option("STRIP", files, "Strip files, or block files for all strips of a block")->required();
  camera.addTo(command);
}

void StripsOptions::check(InputGuard const& output) const {
  output.check(camera.settings);
  for (std::string const& file : files) {
    output.check(file);
  }
}

bool isBlockFile(std::string const& file) {
  QFile input(QString::fromStdString(file));
  if (!QFileInfo(input).isFile() || !input.open(QIODevice::ReadOnly)) {
    return false;
  }
  QXmlStreamReader reader(&input);
  return reader.readNextStartElement() && reader.name() == QLatin1String(sensor::BlockModelData::FILE_ID);
}

sensor::KESStripModel& stripOf(sensor::BlockModelData const& block, std::string const& name) {
  sensor::KESStripModel* const strip = block.strip(name);
  if (strip == nullptr) {
    throw std::runtime_error("strip \"" + name + "\" isn't complete");
  }
  return *strip;
}

bool StripSet::isOneStrip() const {
  return mFiles.size() == 1 && !isBlockFile(mFiles.front());
}

void StripSet::forEach(bool useOriginalEop, Work const& work) const {
  for (std::string const& file : mFiles) {
    if (isBlockFile(file)) {
      forEachOfBlock(file, useOriginalEop, work);
    } else {
      sensor::KESStripModel strip(file, true, useOriginalEop, false);
      work(strip);
    }
  }
}

Json resultsOf(Json const& strips, StripSet const& set, Json head) {
  if (set.isOneStrip()) {
    head.update(strips.front());
  } else {
    head["strips"] = strips;
  }
  return head;
}

void printEach(Json const& strips, std::function<void(Json const&)> const& print) {
  bool isFirst = true;
  for (Json const& strip : strips) {
    std::cout << (isFirst ? "" : "\n");
    isFirst = false;
    print(strip);
  }
}

}  // namespace tool
