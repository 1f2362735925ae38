// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/QtText.h"
#include "project/Path.h"

#include <geo/coordSys.h>
#include <sensor/BlockModelData.h>
#include <sensor/Camera.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

namespace sensor {

namespace {

constexpr int noPoints = 2;

}  // namespace

BlockModelData::BlockModelData() = default;

// A constructor that delegates has an object to destroy when this throws.
BlockModelData::BlockModelData(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs)
    : BlockModelData() {
  read(fileName, loadData, useOriginalEOP, loadStdDevs);
}

BlockModelData::~BlockModelData() {
  mCoordSys.reset();
  mGroundPointCoordSys.reset();
  for (auto const& [name, strip] : mStrips) {
    delete strip;
  }
}

geo::coordSys* BlockModelData::coordSys() const {
  return mCoordSys.get();
}

void BlockModelData::setCoordSys(geo::coordSys* system) {
  if (system != mCoordSys.get()) {
    mCoordSys.reset(system);
  }
  for (auto const& [name, strip] : mStrips) {
    strip->setMappingSystem(system);
  }
}

void BlockModelData::setGroundPointCoordSys(geo::coordSys* system) {
  if (system != mGroundPointCoordSys.get()) {
    mGroundPointCoordSys.reset(system);
  }
}

void BlockModelData::addElevationSource(std::string const& fileName) {
  mElevationSourceNames.push_back(fileName);
}

void BlockModelData::removeElevationSource(std::string const& fileName) {
  auto const found = std::find(mElevationSourceNames.begin(), mElevationSourceNames.end(), fileName);
  if (found != mElevationSourceNames.end()) {
    mElevationSourceNames.erase(found);
  }
}

void BlockModelData::addReferenceImage(std::string const& fileName) {
  mReferenceImageNames.push_back(fileName);
}

void BlockModelData::attach(KESStripModel* strip) {
  strip->setMappingSystem(mCoordSys.get());
  mStrips.emplace(strip->name(), strip);
  strip->setParentBlock(this);
}

void BlockModelData::detach(KESStripModel* strip) {
  if (strip == nullptr) {
    return;
  }
  mStrips.erase(strip->name());
  strip->setParentBlock(nullptr);
}

KESStripModel* BlockModelData::strip(std::string const& name) const {
  auto const found = mStrips.find(name);
  return found != mStrips.end() && found->second->isValid() ? found->second : nullptr;
}

void BlockModelData::stripNames(std::vector<std::string>& names) const {
  names.clear();
  for (auto const& [name, strip] : mStrips) {
    names.push_back(name);
  }
}

void BlockModelData::bands(std::vector<std::string>& bands) const {
  std::unordered_set<std::string> distinct;
  for (auto const& [name, strip] : mStrips) {
    std::vector<std::string> ofStrip;
    strip->bandIDs(ofStrip);
    distinct.insert(ofStrip.begin(), ofStrip.end());
  }
  bands.assign(distinct.begin(), distinct.end());
}

void BlockModelData::bandsPerSensor(std::vector<std::vector<std::string>>& bands,
                                    std::vector<std::string>& sensors) const {
  for (auto const& [name, strip] : mStrips) {
    if (strip->modelData() == nullptr) {
      continue;
    }
    KESStripModelData& data = *strip->modelData();
    if (!data.isDataLoaded()) {
      data.loadData(false, false);
      strip->computeImageScales();
      strip->calculateAzimuth();
    }
    std::string const type = data.camera().type();
    if (std::find(sensors.begin(), sensors.end(), type) == sensors.end()) {
      sensors.push_back(type);
      data.bandIDs(bands.emplace_back());
    }
    data.unloadData();
  }
}

void BlockModelData::setGroundPointFile(std::string const& fileName) {
  mGroundPointFile = fileName;
}

// Hosts set a blank for a block that has no file of its own.
bool BlockModelData::hasGroundPointFile() const {
  return !mGroundPointFile.empty() && mGroundPointFile.front() != ' ';
}

// A block without a data path is at home in the current folder, never in the root of the file system.
std::string BlockModelData::dataFolder() const {
  return mDataPath.empty() ? QDir::currentPath().toStdString() : mDataPath;
}

std::string BlockModelData::belowDataPath(std::string const& name) const {
  return resolved(name, dataFolder());
}

// A file that isn't there yet has no canonical path, but its folder has.
std::string BlockModelData::defaultGroundPointFile() const {
  std::string const path = dataFolder() + "/" + CONTROL_POINT_LOCATION;
  QDir const folder(fromUtf8(path));
  if (!folder.exists() && !QDir(fromUtf8(dataFolder())).mkdir(QLatin1String(CONTROL_POINT_LOCATION))) {
    throw std::runtime_error("Couldn't create folder: " + path);
  }
  std::string const file = QFileInfo(folder, QLatin1String(CONTROL_POINT_FILENAME)).canonicalFilePath().toStdString();
  return file.empty() ? folder.canonicalPath().toStdString() + "/" + CONTROL_POINT_FILENAME : file;
}

int BlockModelData::setGroundPoints(GroundPointList const& points) {
  mGroundPoints = points;
  return 0;
}

int BlockModelData::readGroundPoints(std::string const& fileName) {
  mGroundPointFile = fileName;
  return loadGroundPoints();
}

int BlockModelData::loadGroundPoints() {
  return hasGroundPointFile() ? mGroundPoints.read(belowDataPath(mGroundPointFile), true) : 0;
}

int BlockModelData::writeGroundPoints(std::string const& fileName) {
  mGroundPointFile = fileName;
  return writeGroundPoints();
}

int BlockModelData::writeGroundPoints() {
  if (mGroundPoints.numPoints() == 0) {
    return noPoints;
  }
  mGroundPointFile = hasGroundPointFile() ? belowDataPath(mGroundPointFile) : defaultGroundPointFile();
  return mGroundPoints.write(mGroundPointFile, false);
}

}  // namespace sensor
