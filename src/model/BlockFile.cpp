// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"
#include "files/FileReplacement.h"
#include "project/Attribute.h"
#include "project/Path.h"

#include <XmlWriter.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QTextStream>

#include <stdexcept>

namespace sensor {

namespace {

std::string folderOf(std::string const& fileName) {
  return fileName.empty() ? std::string() : QFileInfo(fromUtf8(fileName)).absolutePath().toStdString();
}

template <class Action>
void forEachChild(QDomElement const& element, char const* name, Action&& action) {
  QString const tag = QLatin1String(name);
  for (QDomElement e = element.firstChildElement(tag); !e.isNull(); e = e.nextSiblingElement(tag)) {
    action(e);
  }
}

QDomDocument readDocument(std::string const& fileName) {
  std::string const failure = "BlockModelData::readFromFile : error ";
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error(failure + "opening block file:" + fileName);
  }
  QDomDocument document;
  QString error;
  if (!readXml(file, document, error)) {
    throw std::runtime_error(failure + "parsing xml file:" + fileName + ": " + error.toStdString());
  }
  return document;
}

void requireSame(char const* what, std::string const& expected, std::string const& seen) {
  if (seen != expected) {
    throw std::runtime_error(std::string("BlockModelData::readFromFile : wrong file ") + what + ": expected \"" +
                             expected + "\" but saw \"" + seen + "\"");
  }
}

std::string dataPathOf(QDomElement const& root, std::string const& blockFolder) {
  std::string const location = trimmedAttributeText(root, "location");
  return location.empty() || location == "." ? blockFolder : resolved(location, blockFolder);
}

std::unique_ptr<geo::coordSys> coordinateSystem(QDomElement const& element, char const* failure) {
  try {
    return std::unique_ptr<geo::coordSys>(geo::coordSysFactory::getInstance()->createCoordSys(element));
  } catch (std::exception const& reason) {
    throw std::runtime_error(failure + std::string(reason.what()));
  }
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

void BlockModelData::read(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs) {
  QDomDocument const document = readDocument(fileName);
  QDomElement const root = document.documentElement();
  requireSame("format", FILE_ID, root.tagName().toStdString());
  requireSame("version", FILE_ATTR_VERSION, attributeText(root, "version"));
  std::vector<std::string> const stripFiles = readRoot(root, fileName, loadData);
  if (mCoordSys == nullptr) {
    throw std::runtime_error("Error parsing \"" + fileName + "\": no element \"CoordinateSystem\" found.");
  }
  // A strip whose name is taken isn't listed; nobody else knows of it, so it goes at the end of its turn. So does the
  // mapping system that each strip begins with.
  for (auto& strip : buildStrips(stripFiles, loadData, useOriginalEOP, loadStdDevs)) {
    std::unique_ptr<geo::coordSys> const replaced(strip->mappingSystem());
    BlockModelData::attach(strip.get());
    if (mStrips.at(strip->name()) == strip.get()) {
      static_cast<void>(strip.release());
    }
  }
  mFileName = fileName;
}

// Strips need the calibrations that any element may name, so they are only collected here.
std::vector<std::string> BlockModelData::readRoot(QDomElement const& root, std::string const& fileName, bool loadData) {
  std::string const blockFolder = folderOf(fileName);
  mDisplayName = root.attribute(QStringLiteral("name"), QStringLiteral("unknown")).toStdString();
  mDataPath = dataPathOf(root, blockFolder);
  std::vector<std::string> stripFiles;
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    QString const tag = e.tagName();
    if (tag == QLatin1String("Strips")) {
      readStrips(e, fileName, stripFiles);
    } else if (tag == QLatin1String("Description")) {
      mDescription = e.text().toStdString();
    } else if (tag == QLatin1String("CoordinateSystem")) {
      mCoordSys = coordinateSystem(e, "Failed to create block due to error in element \"CoordinateSystem\": ");
    } else if (tag == QLatin1String("Models")) {
      readNames(e, "DSM", mElevationSourceNames);
    } else if (tag == QLatin1String("ReferenceImages")) {
      readNames(e, "Image", mReferenceImageNames);
    } else if (tag == QLatin1String("GroundControls")) {
      readGroundControls(e, loadData);
    } else if (tag == QLatin1String("Calibration")) {
      CameraFactory::instance()->addSearchPath(resolved(trimmedAttributeText(e, "location"), blockFolder));
    }
  }
  return stripFiles;
}

void BlockModelData::readStrips(QDomElement const& element, std::string const& fileName,
                                std::vector<std::string>& files) const {
  forEachChild(element, "Strip", [&](QDomElement const& strip) {
    std::string const name = attributeText(strip, "filename");
    if (name.empty()) {
      throw std::runtime_error("Error parsing \"" + fileName + "\": filename attribute must not be empty.");
    }
    files.push_back(belowDataPath(name));
  });
}

void BlockModelData::readNames(QDomElement const& element, char const* child, std::vector<std::string>& names) const {
  forEachChild(element, child,
               [&](QDomElement const& e) { names.push_back(belowDataPath(attributeText(e, "filename"))); });
}

void BlockModelData::readGroundControls(QDomElement const& element, bool loadData) {
  forEachChild(element, "GCP", [&](QDomElement const& points) {
    mGroundPointFile = attributeText(points, "filename");
    forEachChild(points, "CoordinateSystem", [&](QDomElement const& system) {
      mGroundPointCoordSys = coordinateSystem(system, "Failed to read element \"CoordinateSystem\" :");
    });
    if (loadData) {
      loadGroundPoints();
    }
  });
}

std::vector<std::unique_ptr<KESStripModel>> BlockModelData::buildStrips(std::vector<std::string> const& files,
                                                                        bool loadData, bool useOriginalEOP,
                                                                        bool loadStdDevs) {
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
  std::string const folder = folderOf(mFileName);
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
