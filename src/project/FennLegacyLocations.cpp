// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"
#include "project/Attribute.h"

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

// The location that an element sets; it stays as it is without a path.
void takePath(QDomElement const& element, QFileInfo const& flightFile, std::string& location) {
  QString const path = element.attribute(QStringLiteral("Path"));
  if (path.startsWith(QLatin1Char('.'))) {
    location = QDir::cleanPath(flightFile.absolutePath() + QLatin1Char('/') + path).toStdString();
  } else if (!path.isEmpty()) {
    location = path.toStdString();
  }
}

}  // namespace

FennLegacyLocations::FennLegacyLocations(std::string const& path) {
  QFileInfo const info(fromUtf8(path));
  if (info.isDir()) {
    readProjectFolder(info);
  } else {
    readFlightFile(info);
  }
}

bool FennLegacyLocations::readProjectFolder(QFileInfo const& info) {
  std::string const folder = info.canonicalFilePath().toStdString();
  mVmmDataLocation = folder + "/mm";
  mPosDataLocation = folder + "/pos";
  mRawDataLocation = folder + "/raw";
  mImageDataLocation = folder + "/images";
  return true;
}

bool FennLegacyLocations::readFlightFile(QFileInfo const& info) {
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
    readLocation(e, info);
  }
  requireLocation(mPosDataLocation, "POS");
  requireLocation(mRawDataLocation, "RAW");
  return true;
}

void FennLegacyLocations::readLocation(QDomElement const& element, QFileInfo const& info) {
  QString const tag = element.tagName();
  if (tag == QLatin1String("RAW")) {
    takePath(element, info, mRawDataLocation);
  } else if (tag == QLatin1String("POS")) {
    takePath(element, info, mPosDataLocation);
  } else if (tag == QLatin1String("MM")) {
    takePath(element, info, mVmmDataLocation);
  }
}

}  // namespace sensor
