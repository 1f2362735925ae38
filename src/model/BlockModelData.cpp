// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/QtText.h"
#include "files/FileReplacement.h"
#include "model/BlockFile.h"
#include "project/ProjectFile.h"

#include <XmlWriter.h>
#include <geo/coordSys.h>
#include <sensor/BlockModelData.h>
#include <sensor/Camera.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <stdexcept>
#include <unordered_set>
#include <utility>

namespace sensor {

namespace {

constexpr int noPoints = 2;

std::vector<std::unique_ptr<KESStripModel>> buildStrips(std::vector<std::string> const& files, bool loadData,
                                                        bool useOriginalEOP, bool loadStdDevs) {
  std::vector<std::unique_ptr<KESStripModel>> strips;
  for (std::string const& file : files) {
    try {
      strips.push_back(std::make_unique<KESStripModel>(file, loadData, useOriginalEOP, loadStdDevs));
    } catch (std::exception const& reason) {
      throw std::runtime_error(" Take \"" + file + "\" could not be created: " + reason.what());
    }
  }
  return strips;
}

void writeCoordinateSystem(XmlWriter& writer, geo::coordSys const* system) {
  if (system != nullptr) {
    QDomDocument document;
    QDomElement element = system->toXml(document);
    writer.writeExternalNode(&element);
  }
}

void writeFile(XmlWriter& writer, char const* element, QString const& name) {
  writer.addAttribute(QStringLiteral("filename"), name);
  writer.writeElement(QLatin1String(element), "");
}

void writeFiles(XmlWriter& writer, char const* list, char const* element, std::vector<std::string> const& names) {
  writer.writeStartElement(QLatin1String(list));
  for (std::string const& name : names) {
    writeFile(writer, element, fromUtf8(name));
  }
  writer.writeEndElement();
}

// A file below a folder without it, whatever the case of the letters; any other name as it is.
QString withoutFolder(QString const& name, QString const& folder) {
  bool const isBelow = !folder.isEmpty() && name.startsWith(folder, Qt::CaseInsensitive) &&
                       name.mid(folder.size()).startsWith(QLatin1Char('/'));
  return isBelow ? name.mid(folder.size() + 1) : name;
}

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

void BlockModelData::read(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs) {
  BlockDescription block = readBlockFile(fileName);
  for (std::string const& folder : block.calibrationFolders) {
    CameraFactory::instance()->addSearchPath(folder);
  }
  if (!block.fault.empty()) {
    throw std::runtime_error(block.fault);
  }
  mDisplayName = block.displayName;
  mDataPath = block.dataPath;
  mDescription = block.description;
  mElevationSourceNames = block.elevationSourceNames;
  mReferenceImageNames = block.referenceImageNames;
  mCoordSys = std::move(block.coordSys);
  mGroundPointCoordSys = std::move(block.groundPointCoordSys);
  for (std::string const& file : block.groundPointFiles) {
    mGroundPointFile = file;
    if (loadData) {
      loadGroundPoints();
    }
  }
  // A strip whose name is taken isn't listed; nothing else refers to it, so it is freed at the end of its turn, as is
  // the mapping system that each strip starts with.
  for (auto& strip : buildStrips(block.stripFiles, loadData, useOriginalEOP, loadStdDevs)) {
    std::unique_ptr<geo::coordSys> const replaced(strip->mappingSystem());
    BlockModelData::attach(strip.get());
    if (mStrips.at(strip->name()) == strip.get()) {
      static_cast<void>(strip.release());
    }
  }
  mFileName = fileName;
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

// Hosts set a blank for a block without a file.
bool BlockModelData::hasGroundPointFile() const {
  return !mGroundPointFile.empty() && mGroundPointFile.front() != ' ';
}

std::string BlockModelData::belowDataPath(std::string const& name) const {
  return resolved(name, dataFolder(mDataPath));
}

// A file that isn't there yet has no canonical path, but its folder has.
std::string BlockModelData::defaultGroundPointFile() const {
  std::string const parent = dataFolder(mDataPath);
  std::string const path = parent + "/" + CONTROL_POINT_LOCATION;
  QDir const folder(fromUtf8(path));
  if (!folder.exists() && !QDir(fromUtf8(parent)).mkdir(QLatin1String(CONTROL_POINT_LOCATION))) {
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

void BlockModelData::write() {
  if (!mFileName.empty()) {
    write(mFileName);
  }
}

void BlockModelData::write(std::string const& fileName) {
  writeGroundPoints();
  QString const dataPath = fromUtf8(mDataPath);
  if (!QDir(dataPath).exists() && !QDir().mkpath(dataPath)) {
    throw std::runtime_error("Error creating directory: " + mDataPath);
  }
  std::string const failure = "Error opening file for writing: " + fileName;
  files::FileReplacement file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error(failure);
  }
  mFileName = fileName;
  QByteArray bytes;
  {
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    useUtf8(stream);
    XmlWriter writer(stream, 0);
    writer.writeStartDocument();
    write(&writer);
    writer.writeEndDocument();
  }
  file.write({bytes.constData(), static_cast<std::size_t>(bytes.size())});
  if (!file.commit()) {
    throw std::runtime_error(failure);
  }
}

void BlockModelData::write(XmlWriter* writer) const {
  if (writer == nullptr) {
    return;
  }
  writer->addAttribute(QStringLiteral("version"), FILE_ATTR_VERSION);
  writer->addAttribute(QStringLiteral("name"), fromUtf8(mDisplayName));
  std::string const folder = folderOfFile(mFileName);
  if (folder != mDataPath) {
    writer->addAttribute(QStringLiteral("location"), fromUtf8(locationSeenFrom(folder)));
  }
  writer->writeStartElement(QLatin1String(FILE_ID));
  if (!mDescription.empty()) {
    writer->writeElement(QStringLiteral("Description"), fromUtf8(mDescription));
  }
  writeStrips(*writer);
  writeCoordinateSystem(*writer, mCoordSys.get());
  writeFiles(*writer, "Models", "DSM", mElevationSourceNames);
  writeFiles(*writer, "ReferenceImages", "Image", mReferenceImageNames);
  writer->writeStartElement(QStringLiteral("GroundControls"));
  writeFile(*writer, "GCP", fromUtf8(mGroundPointFile));
  writeCoordinateSystem(*writer, mGroundPointCoordSys.get());
  writer->writeEndElement();
  writer->writeEndElement();
}

// It compares single characters, not folders. Block files are exchanged with hosts that have it so.
std::string BlockModelData::locationSeenFrom(std::string const& folder) const {
  std::size_t const last = mDataPath.find_last_of(folder);
  return last == std::string::npos ? mDataPath : mDataPath.substr(folder.size(), mDataPath.size() - last);
}

void BlockModelData::writeStrips(XmlWriter& writer) const {
  QString const dataPath = fromUtf8(mDataPath);
  writer.writeStartElement(QStringLiteral("Strips"));
  for (auto const& [name, strip] : mStrips) {
    if (strip->modelData() != nullptr) {
      writeFile(writer, "Strip", withoutFolder(fromUtf8(strip->modelData()->fileName()), dataPath));
    }
  }
  writer.writeEndElement();
}

}  // namespace sensor
