// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"
#include "project/ProjectFile.h"

#include <sensor/FennLegacyLocations.h>

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>

#include <stdexcept>

namespace sensor {

namespace {

void requireLocation(std::string const& location, char const* tag) {
  if (location.empty()) {
    throw std::runtime_error(std::string("legacy flight file contains no ") + tag + " tag");
  }
}

// Takes the location that an element with the tag sets; it stays as it is without a path.
void takePath(QDomElement const& element, char const* tag, QFileInfo const& flightFile, std::string& location) {
  if (element.tagName() != QLatin1String(tag)) {
    return;
  }
  QString const path = element.attribute(QStringLiteral("Path"));
  if (path.startsWith(QLatin1Char('.'))) {
    location = QDir::cleanPath(flightFile.absolutePath() + QLatin1Char('/') + path).toStdString();
  } else if (!path.isEmpty()) {
    location = path.toStdString();
  }
}

}  // namespace

FennLegacyLocations::FennLegacyLocations(std::string const& path) {
  if (QFileInfo(fromUtf8(path)).isDir()) {
    readProjectFolder(path);
  } else {
    readFlightFile(path);
  }
}

bool FennLegacyLocations::readProjectFolder(std::string const& path) {
  std::string const folder = QFileInfo(fromUtf8(path)).canonicalFilePath().toStdString();
  mVmmDataLocation = folder + "/mm";
  mPosDataLocation = folder + "/pos";
  mRawDataLocation = folder + "/raw";
  mImageDataLocation = folder + "/images";
  return true;
}

bool FennLegacyLocations::readFlightFile(std::string const& path) {
  QFileInfo const info(fromUtf8(path));
  std::string const name = info.absoluteFilePath().toStdString();
  InputFile file(info.canonicalFilePath().toStdString());
  if (!file.isOpen()) {
    throw std::runtime_error("error opening legacy Fenn flt file:" + name);
  }
  QDomDocument document;
  QString error;
  if (!readXml(file, document, error)) {
    throw std::runtime_error("error parsing xml file:" + name + ": " + error.toStdString());
  }
  QDomElement const root = document.documentElement();
  if (root.tagName() != QLatin1String("KESProject")) {
    throw std::runtime_error("wrong file format: expected \"KESProject\" but saw \"" + root.tagName().toStdString() +
                             "\"");
  }
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    takePath(e, "RAW", info, mRawDataLocation);
    takePath(e, "POS", info, mPosDataLocation);
    takePath(e, "MM", info, mVmmDataLocation);
  }
  requireLocation(mPosDataLocation, "POS");
  requireLocation(mRawDataLocation, "RAW");
  return true;
}

}  // namespace sensor
