// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFile.h"

#include "common/InputFile.h"
#include "common/XmlDocument.h"
#include "files/FileReplacement.h"
#include "files/formats/ProjectFiles.h"
#include "project/ProjectFile.h"

#include <QFileInfo>
#include <QTextStream>

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

QDomElement requireStrip(QDomDocument const& document) {
  QDomElement root = document.documentElement();
  if (root.tagName() != QLatin1String(stripFile::root)) {
    throw std::runtime_error("Wrong file format: expected \"Strip\" but saw \"" + root.tagName().toStdString() + "\"");
  }
  if (attributeText(root, stripFile::version) != fileVersion) {
    throw std::runtime_error(std::string("Wrong file version: expected \"") + fileVersion + "\" but saw \"" +
                             attributeText(root, stripFile::version) + "\"");
  }
  return root;
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

QDomDocument readDocument(std::string const& fileName) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("Error opening strip file:" + fileName);
  }
  QDomDocument document;
  QString error;
  if (!readXml(file, document, error)) {
    throw std::runtime_error("Error parsing xml file:" + fileName + ": " + error.toStdString());
  }
  return document;
}

void readImages(QDomElement const& element, StripDescription& strip) {
  strip.imageDataLocation = resolved(trimmedAttributeText(element, stripFile::location), strip.folder);
  QString const tag = QLatin1String(stripFile::image);
  for (QDomElement e = element.firstChildElement(tag); !e.isNull(); e = e.nextSiblingElement(tag)) {
    strip.images.push_back(e);
  }
}

void readCalibration(QDomElement const& element, StripDescription& strip) {
  strip.cameraVersion = attributeText(element, stripFile::version);
  requireAttribute(strip.cameraVersion, stripFile::version, stripFile::calibration);
  strip.sensorId = attributeText(element, stripFile::sensorId);
  requireAttribute(strip.sensorId, stripFile::sensorId, stripFile::calibration);
  strip.sensorType =
      element.attribute(QLatin1String(stripFile::sensorType), QLatin1String(stripFile::usualSensorType)).toStdString();
}

void readEOP(QDomElement const& element, StripDescription& strip) {
  strip.originalEOPFileName = resolved(attributeText(element, stripFile::fileName), strip.folder);
  if (strip.originalEOPFileName.empty()) {
    throw std::runtime_error("Element \"eop\" is empty!");
  }
  strip.adjustedEOPFileName.clear();
  if (!trimmedAttributeText(element, stripFile::adjustedFileName).empty()) {
    strip.adjustedEOPFileName = resolved(attributeText(element, stripFile::adjustedFileName), strip.folder);
  }
}

void readRawData(QDomElement const& element, StripDescription& strip) {
  requireAttribute(attributeText(element, stripFile::location), stripFile::location, stripFile::rawData);
  strip.rawDataLocation = resolved(trimmedAttributeText(element, stripFile::location), strip.folder);
}

void readElements(QDomElement const& root, StripDescription& strip) {
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    QString const tag = e.tagName();
    if (tag == QLatin1String(stripFile::images)) {
      readImages(e, strip);
    } else if (tag == QLatin1String(stripFile::calibration)) {
      readCalibration(e, strip);
    } else if (tag == QLatin1String(stripFile::eop)) {
      readEOP(e, strip);
    } else if (tag == QLatin1String(stripFile::rawData)) {
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
  StripDescription strip;
  strip.document = readDocument(fileName);
  QDomElement const root = requireStrip(strip.document);
  strip.folder = QFileInfo(fromUtf8(fileName)).absolutePath().toStdString();
  strip.name = root.attribute(QLatin1String(stripFile::name), QStringLiteral("unknown")).toStdString();
  strip.meanTerrainHeight =
      root.attribute(QLatin1String(stripFile::meanTerrainHeight), QStringLiteral("0.f")).toFloat();
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
