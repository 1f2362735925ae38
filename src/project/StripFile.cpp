// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFile.h"

#include "common/InputFile.h"
#include "common/XmlDocument.h"
#include "files/FileReplacement.h"
#include "files/formats/ProjectFiles.h"
#include "project/ProjectFile.h"

#include <QDomDocument>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace sensor {

namespace {

constexpr int indent = 4;
constexpr char const* fileVersion = "1.0";

void requireAttribute(std::string const& value, char const* attribute, char const* element) {
  if (value.empty()) {
    throw std::runtime_error(std::string("Missing attribute \"") + attribute + "\" for element \"" + element + "\"!");
  }
}

void requireStrip(XmlElement const& root) {
  if (root.name != stripFile::root) {
    throw std::runtime_error("Wrong file format: expected \"Strip\" but saw \"" + root.name + "\"");
  }
  if (root.text(stripFile::version) != fileVersion) {
    throw std::runtime_error(std::string("Wrong file version: expected \"") + fileVersion + "\" but saw \"" +
                             root.text(stripFile::version) + "\"");
  }
}

// What isn't XML is replaced by an empty document, but XML that can't be read whole is left alone.
QDomDocument documentToChange(std::string const& fileName) {
  InputFile file(fileName);
  bool const isReadable = file.isOpen() && file.size() <= maxProjectFileSize;
  auto const text = isReadable ? file.readAll() : std::nullopt;
  QDomDocument document;
  QString ignored;
  if (!text || (!parseXml(*text, document, ignored) && isXml(*text))) {
    throw std::runtime_error("Unable to open Stp file");
  }
  return document;
}

XmlElement readRoot(std::string const& fileName) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("Error opening strip file:" + fileName);
  }
  QString error;
  auto root = readXmlElement(file, error);
  if (!root) {
    throw std::runtime_error("Error parsing xml file:" + fileName + ": " + error.toStdString());
  }
  return *std::move(root);
}

std::string trimmedText(XmlElement const& element, char const* attribute) {
  return element.qtText(attribute).trimmed().toStdString();
}

void readImages(XmlElement const& element, StripDescription& strip) {
  strip.imageDataLocation = resolved(trimmedText(element, stripFile::location), strip.folder);
  std::copy_if(element.children.begin(), element.children.end(), std::back_inserter(strip.images),
               [](XmlElement const& child) { return child.name == stripFile::image; });
}

void readCalibration(XmlElement const& element, StripDescription& strip) {
  strip.cameraVersion = element.text(stripFile::version);
  requireAttribute(strip.cameraVersion, stripFile::version, stripFile::calibration);
  strip.sensorId = element.text(stripFile::sensorId);
  requireAttribute(strip.sensorId, stripFile::sensorId, stripFile::calibration);
  strip.sensorType = element.textOr(stripFile::sensorType, stripFile::usualSensorType);
}

void readEOP(XmlElement const& element, StripDescription& strip) {
  strip.originalEOPFileName = resolved(element.text(stripFile::fileName), strip.folder);
  if (strip.originalEOPFileName.empty()) {
    throw std::runtime_error("Element \"eop\" is empty!");
  }
  strip.adjustedEOPFileName.clear();
  if (!trimmedText(element, stripFile::adjustedFileName).empty()) {
    strip.adjustedEOPFileName = resolved(element.text(stripFile::adjustedFileName), strip.folder);
  }
}

void readRawData(XmlElement const& element, StripDescription& strip) {
  requireAttribute(element.text(stripFile::location), stripFile::location, stripFile::rawData);
  strip.rawDataLocation = resolved(trimmedText(element, stripFile::location), strip.folder);
}

void readElements(XmlElement const& root, StripDescription& strip) {
  for (XmlElement const& e : root.children) {
    if (e.name == stripFile::images) {
      readImages(e, strip);
    } else if (e.name == stripFile::calibration) {
      readCalibration(e, strip);
    } else if (e.name == stripFile::eop) {
      readEOP(e, strip);
    } else if (e.name == stripFile::rawData) {
      readRawData(e, strip);
    }
  }
}

void requireCompleteness(StripDescription const& strip) {
  if (strip.images.empty()) {
    throw std::runtime_error("Strip contains no usable images/");
  }
  if (strip.cameraVersion.empty() || strip.sensorId.empty()) {
    throw std::runtime_error("Missing element: \"Calibration\"");
  }
  if (strip.rawDataLocation.empty()) {
    throw std::runtime_error("Missing element: \"RawData\"");
  }
}

}  // namespace

StripDescription readStripFile(std::string const& fileName) {
  XmlElement const root = readRoot(fileName);
  requireStrip(root);
  StripDescription strip;
  strip.folder = QFileInfo(fromUtf8(fileName)).absolutePath().toStdString();
  strip.name = root.textOr(stripFile::name, "unknown");
  strip.meanTerrainHeight = root.qtText(stripFile::meanTerrainHeight, "0.f").toFloat();
  try {
    readElements(root, strip);
    requireCompleteness(strip);
  } catch (std::runtime_error const& fault) {
    strip.fault = fault.what();
  }
  return strip;
}

void enterAdjustedEOP(std::string const& fileName, std::string const& adjustedEOPFileName) {
  QDomDocument document = documentToChange(fileName);
  QDomElement eop =
      document.firstChildElement(QLatin1String(stripFile::root)).firstChildElement(QLatin1String(stripFile::eop));
  if (!eop.isNull()) {
    eop.setAttribute(QLatin1String(stripFile::adjustedFileName), QFileInfo(fromUtf8(adjustedEOPFileName)).fileName());
  }
  QByteArray bytes;
  {
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    useUtf8(stream);
    document.save(stream, indent, QDomNode::EncodingFromTextStream);
  }
  if (!files::replaceFile(fileName, {bytes.constData(), static_cast<std::size_t>(bytes.size())})) {
    throw std::runtime_error("Unable to update Stp file");
  }
}

}  // namespace sensor
