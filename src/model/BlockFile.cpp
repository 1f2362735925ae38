// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/BlockFile.h"

#include "common/InputFile.h"
#include "common/XmlDocument.h"
#include "files/formats/ProjectFiles.h"
#include "project/ProjectFile.h"

#include <geo/coordSysFactory.h>
#include <sensor/BlockModelData.h>

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>

#include <stdexcept>

namespace sensor {

namespace {

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
  std::string const location = trimmedAttributeText(root, blockFile::location);
  return location.empty() || location == "." ? blockFolder : resolved(location, blockFolder);
}

std::unique_ptr<geo::coordSys> coordinateSystem(QDomElement const& element, char const* failure) {
  try {
    return std::unique_ptr<geo::coordSys>(geo::coordSysFactory::getInstance()->createCoordSys(element));
  } catch (std::exception const& reason) {
    throw std::runtime_error(failure + std::string(reason.what()));
  }
}

std::string belowDataPath(QDomElement const& element, BlockDescription const& block) {
  return resolved(attributeText(element, blockFile::fileName), dataFolder(block.dataPath));
}

void readStrips(QDomElement const& element, std::string const& fileName, BlockDescription& block) {
  forEachChild(element, blockFile::strip, [&](QDomElement const& strip) {
    if (attributeText(strip, blockFile::fileName).empty()) {
      throw std::runtime_error("Error parsing \"" + fileName + "\": filename attribute must not be empty.");
    }
    block.stripFiles.push_back(belowDataPath(strip, block));
  });
}

void readNames(QDomElement const& element, char const* child, BlockDescription const& block,
               std::vector<std::string>& names) {
  forEachChild(element, child, [&](QDomElement const& e) { names.push_back(belowDataPath(e, block)); });
}

void readGroundControls(QDomElement const& element, BlockDescription& block) {
  forEachChild(element, blockFile::groundPoints, [&](QDomElement const& points) {
    block.groundPointFiles.push_back(attributeText(points, blockFile::fileName));
    forEachChild(points, blockFile::coordinateSystem, [&](QDomElement const& system) {
      block.groundPointCoordSys = coordinateSystem(system, "Failed to read element \"CoordinateSystem\" :");
    });
  });
}

void readElements(QDomElement const& root, std::string const& fileName, BlockDescription& block) {
  std::string const blockFolder = folderOfFile(fileName);
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    QString const tag = e.tagName();
    if (tag == QLatin1String(blockFile::strips)) {
      readStrips(e, fileName, block);
    } else if (tag == QLatin1String(blockFile::description)) {
      block.description = e.text().toStdString();
    } else if (tag == QLatin1String(blockFile::coordinateSystem)) {
      block.coordSys = coordinateSystem(e, "Failed to create block due to error in element \"CoordinateSystem\": ");
    } else if (tag == QLatin1String(blockFile::models)) {
      readNames(e, blockFile::model, block, block.elevationSourceNames);
    } else if (tag == QLatin1String(blockFile::referenceImages)) {
      readNames(e, blockFile::referenceImage, block, block.referenceImageNames);
    } else if (tag == QLatin1String(blockFile::groundControls)) {
      readGroundControls(e, block);
    } else if (tag == QLatin1String(blockFile::calibration)) {
      block.calibrationFolders.push_back(resolved(trimmedAttributeText(e, blockFile::location), blockFolder));
    }
  }
  if (block.coordSys == nullptr) {
    throw std::runtime_error("Error parsing \"" + fileName + "\": no element \"CoordinateSystem\" found.");
  }
}

}  // namespace

std::string folderOfFile(std::string const& fileName) {
  return fileName.empty() ? std::string() : QFileInfo(fromUtf8(fileName)).absolutePath().toStdString();
}

std::string dataFolder(std::string const& dataPath) {
  return dataPath.empty() ? QDir::currentPath().toStdString() : dataPath;
}

BlockDescription readBlockFile(std::string const& fileName) {
  QDomDocument const document = readDocument(fileName);
  QDomElement const root = document.documentElement();
  requireSame("format", BlockModelData::FILE_ID, root.tagName().toStdString());
  requireSame("version", BlockModelData::FILE_ATTR_VERSION, attributeText(root, "version"));
  BlockDescription block;
  block.displayName = root.attribute(QLatin1String(blockFile::name), QStringLiteral("unknown")).toStdString();
  block.dataPath = dataPathOf(root, folderOfFile(fileName));
  try {
    readElements(root, fileName, block);
  } catch (std::runtime_error const& fault) {
    block.fault = fault.what();
  }
  return block;
}

}  // namespace sensor
