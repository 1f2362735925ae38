// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/XmlDocument.h"
#include "files/FileReplacement.h"
#include "project/Attribute.h"
#include "project/Path.h"

#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace sensor {

namespace {

constexpr int indent = 4;

bool exists(std::string const& path) {
  return QFileInfo::exists(fromUtf8(path));
}

void requireAttribute(std::string const& value, char const* attribute, char const* element) {
  if (value.empty()) {
    throw std::runtime_error(std::string("Missing attribute \"") + attribute + "\" for element \"" + element + "\"!");
  }
}

QDomElement requireStrip(QDomDocument const& document) {
  QDomElement root = document.documentElement();
  if (root.tagName() != QLatin1String("Strip")) {
    throw std::runtime_error("Wrong file format: expected \"Strip\" but saw \"" + root.tagName().toStdString() + "\"");
  }
  if (attributeText(root, "version") != "1.0") {
    throw std::runtime_error("Wrong file version: expected \"1.0\" but saw \"" + attributeText(root, "version") + "\"");
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

// What is missing first is appended to the message.
class Presence {
public:
  explicit Presence(std::string& message) : mMessage(message) {}

  bool of(char const* what, std::string const& path) {
    bool const present = exists(path);
    if (!present) {
      mMessage += std::string(what) + path + " doesn't exist!\n";
    }
    return present;
  }

private:
  std::string& mMessage;
};

}  // namespace

void KESStripModelData::read(std::string const& fileName, bool load, bool useOriginalEOP, bool loadStdDevs) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("Error opening strip file:" + fileName);
  }
  QDomDocument document;
  QString error;
  if (!readXml(file, document, error)) {
    throw std::runtime_error("Error parsing xml file:" + fileName + ": " + error.toStdString());
  }
  mFileName = fileName;
  std::string const stripFolder = QFileInfo(fromUtf8(fileName)).absolutePath().toStdString();
  readRoot(requireStrip(document), stripFolder, load);
  requireCompleteness();
  findCamera();
  if (mCamera == nullptr) {
    throw std::runtime_error("No calibration found for sensor " + mSensorType + " ID: " + mSensorId +
                             " version: " + mCameraVersion + "\n");
  }
  chooseEOP(useOriginalEOP || mAdjustedEOPFileName.empty());
  if (load) {
    loadData(useOriginalEOP, loadStdDevs);
  }
}

void KESStripModelData::readRoot(QDomElement const& root, std::string const& stripFolder, bool load) {
  mMeanTerrainHeight = root.attribute(QStringLiteral("mean_terrain_height"), QStringLiteral("0.f")).toFloat();
  mName = root.attribute(QStringLiteral("name"), QStringLiteral("unknown")).toStdString();
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    QString const tag = e.tagName();
    if (tag == QLatin1String("Images")) {
      readImages(e, stripFolder, load);
    } else if (tag == QLatin1String("Calibration")) {
      readCalibration(e);
    } else if (tag == QLatin1String("EOP")) {
      readEOP(e, stripFolder);
    } else if (tag == QLatin1String("RawData")) {
      readRawData(e, stripFolder);
    }
  }
}

void KESStripModelData::readImages(QDomElement const& element, std::string const& stripFolder, bool load) {
  mImageDataLocation = resolved(trimmedAttributeText(element, "location"), stripFolder);
  QString const tag = QStringLiteral("Image");
  for (QDomElement e = element.firstChildElement(tag); !e.isNull(); e = e.nextSiblingElement(tag)) {
    try {
      attach(std::make_unique<KESImage>(e, stripFolder, this, load).release());
    } catch (std::exception const& failure) {
      std::cerr << failure.what() << '\n';
      throw;
    }
  }
}

void KESStripModelData::readCalibration(QDomElement const& element) {
  mCameraVersion = attributeText(element, "version");
  requireAttribute(mCameraVersion, "version", "Calibration");
  mSensorId = attributeText(element, "sensor_id");
  requireAttribute(mSensorId, "sensor_id", "Calibration");
  mSensorType = element.attribute(QStringLiteral("sensor_type"), QStringLiteral("KESA0")).toStdString();
}

void KESStripModelData::readEOP(QDomElement const& element, std::string const& stripFolder) {
  mOriginalEOPFileName = resolved(attributeText(element, "filename"), stripFolder);
  if (mOriginalEOPFileName.empty()) {
    throw std::runtime_error("Element \"eop\" is empty!");
  }
  mAdjustedEOPFileName.clear();
  if (!trimmedAttributeText(element, "filename_adjusted").empty()) {
    mAdjustedEOPFileName = resolved(attributeText(element, "filename_adjusted"), stripFolder);
  }
}

void KESStripModelData::readRawData(QDomElement const& element, std::string const& stripFolder) {
  requireAttribute(attributeText(element, "location"), "location", "RawData");
  mRawDataLocation = resolved(trimmedAttributeText(element, "location"), stripFolder);
}

void KESStripModelData::requireCompleteness() const {
  if (mImages.empty()) {
    throw std::runtime_error("Strip contains no usable images/");
  }
  if (mCameraVersion.empty() || mSensorId.empty()) {
    throw std::runtime_error("Missing element: \"Calibration\"");
  }
  if (mRawDataLocation.empty()) {
    throw std::runtime_error("Missing element: \"RawData\"");
  }
}

bool KESStripModelData::isDataValid(std::string& message, bool checkImages) const {
  Presence presence(message);
  if (!presence.of("Raw data location: ", mRawDataLocation) ||
      !presence.of("Image data location: ", mImageDataLocation)) {
    return false;
  }
  if (!CameraFactory::instance()->validateCamera(mSensorId, mSensorType, mCameraVersion)) {
    message += "No Camera found for sensor " + mSensorType + " ID: " + mSensorId + " version: " + mCameraVersion;
    return false;
  }
  if (!mOriginalEOPFileName.empty() && !presence.of("Original EOP file: ", mOriginalEOPFileName)) {
    return false;
  }
  if (!mAdjustedEOPFileName.empty() && !presence.of("Adjusted EOP file: ", mAdjustedEOPFileName)) {
    return false;
  }
  for (std::size_t i = 0; checkImages && i < mImages.size(); ++i) {
    KESImage const& image = *mImages[i];
    if (!presence.of("Image: ", resolved(image.imageFileName(), mImageDataLocation)) ||
        !presence.of("CTG file: ", image.ctgFileName()) ||
        !presence.of("Footprint file: ", image.footprintFileName())) {
      return false;
    }
  }
  return true;
}

void KESStripModelData::completeEOPAdjustment() {
  if (!mAdjustedEOPFileName.empty()) {
    QString const old = fromUtf8(mAdjustedEOPFileName);
    QFile::rename(old, old + QStringLiteral(".bak"));
  } else {
    mAdjustedEOPFileName = mOriginalEOPFileName + ".adj";
    write(mFileName);
  }
  mEop->write(mAdjustedEOPFileName, 0);
  mUseOriginalEOP = false;
}

void KESStripModelData::write(std::string const& fileName) {
  QDomDocument document = documentToChange(fileName);
  QDomElement eop = document.firstChildElement(QStringLiteral("Strip")).firstChildElement(QStringLiteral("EOP"));
  if (!eop.isNull()) {
    eop.setAttribute(QStringLiteral("filename_adjusted"), QFileInfo(fromUtf8(mAdjustedEOPFileName)).fileName());
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
  mFileName = fileName;
}

}  // namespace sensor
