// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlElement.h"
#include "files/formats/ProjectFiles.h"
#include "project/BadCalibration.h"
#include "project/ImageReader.h"
#include "project/ProjectFile.h"

#include <XmlWriter.h>
#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraTime.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>
#include <sensor/TdiStage.h>

#include <QDomElement>
#include <QFileInfo>

#include <memory>

namespace sensor {

namespace {

// The text without its first characters, as many as the folder has, and without the slash after them.
std::string withoutFolder(std::string const& name, std::string const& folder) {
  if (name.find(folder) == std::string::npos) {
    return name;
  }
  return name.size() > folder.size() ? name.substr(folder.size() + 1) : std::string();
}

// Loads the strip unless it is loaded. The band id may have changed since then, to one that the camera doesn't have.
CalibrationGeometryKes const& loadedCalibration(KESStripModelData& strip, std::string const& bandId) {
  if (!strip.isDataLoaded()) {
    strip.loadData(false, false);
  }
  CalibrationGeometryKes const* geometry = strip.calibrationGeometry(bandId);
  if (geometry == nullptr) {
    throw badCalibration(bandId);
  }
  return *geometry;
}

raster::Statistics emptyStatistics() {
  return {0, 50, 100, 1, 1.0F};
}

}  // namespace

KESImage::KESImage(QDomElement const& element, std::string const& stripFolder, KESStripModelData* parent, bool load)
    : KESImage(parent) {
  ImageReader(stripFolder).read(xmlElement(element), load, *this);
}

KESImage::~KESImage() {
  mDataLoaded = false;
  delete mCameraTime;
  delete mIntegrationTime;
  delete mTdiData;
}

void KESImage::loadData() {
  if (!mDataLoaded) {
    mCameraTime->loadData();
    mDataLoaded = true;
  }
}

std::int32_t KESImage::numScanlines() const {
  return static_cast<std::int32_t>(mCameraTime->size());
}

std::int32_t KESImage::numImagingSamples() {
  if (mParentStrip == nullptr) {
    return mNumSamples;
  }
  return static_cast<std::int32_t>(loadedCalibration(*mParentStrip, mBandID).numImagingSamples());
}

float KESImage::gsd() {
  if (mGsd < 0.0F) {
    CalibrationGeometryKes const& geometry = loadedCalibration(*mParentStrip, mBandID);
    computeGSD(mParentStrip->meanTerrainHeight(), mParentStrip->meanFlyingHeight(), &geometry);
  }
  return mGsd;
}

void KESImage::computeGSD(float terrainHeight, float flyingHeight, CalibrationGeometry const* calibration) {
  mGsd = calibration->pixelSize() * (flyingHeight - terrainHeight) / calibration->focalLength();
}

float KESImage::computeNominalHeight(float gsd, float flyingHeight, CalibrationGeometry const* calibration) const {
  return flyingHeight - calibration->focalLength() * gsd / calibration->pixelSize();
}

TimeQuantity<double> KESImage::gpsTime(float line) const {
  return mCameraTime->gpsTime(line);
}

TimeQuantity<double> KESImage::cycleTime(float line) const {
  return mCameraTime->cycleTime(line);
}

float KESImage::line(TimeQuantity<double> const& time) const {
  return mCameraTime->line(time);
}

float KESImage::integrationTime(float line) const {
  return mIntegrationTime->at(line);
}

float KESImage::tdi(float line) const {
  return mTdiData->at(line);
}

std::string const& KESImage::ctgFileName() const {
  return mCameraTime->ctgFileName();
}

void KESImage::write(XmlWriter* writer, std::string const& stripFolder) const {
  if (writer == nullptr) {
    return;
  }
  bool const isUsable = QFileInfo::exists(fromUtf8(stripFolder));
  auto const relative = [&](std::string const& name) {
    return fromUtf8(isUsable ? withoutFolder(name, stripFolder) : name);
  };
  writer->addAttribute(QLatin1String(stripFile::fileName), fromUtf8(mImageFileName));
  writer->addAttribute(QLatin1String(stripFile::timing), relative(ctgFileName()));
  writer->addAttribute(QLatin1String(stripFile::footprint), relative(mFootprintFileName));
  writer->addAttribute(QLatin1String(stripFile::band), fromUtf8(mBandID));
  if (mIntegrationTime != nullptr && !mIntegrationTime->fileName().empty()) {
    writer->addAttribute(QLatin1String(stripFile::integrationTime), relative(mIntegrationTime->fileName()));
  } else if (mIntegrationTime != nullptr && mIntegrationTime->at(0.0F) > 0.0F) {
    writer->addAttribute(QLatin1String(stripFile::integrationTime),
                         static_cast<double>(mIntegrationTime->at(0.0F)) * 1000.0, 'f', 3);
  }
  if (mTdiData != nullptr && !mTdiData->fileName().empty()) {
    writer->addAttribute(QLatin1String(stripFile::tdi), fromUtf8(withoutFolder(mTdiData->fileName(), stripFolder)));
  }
  writer->addAttribute(QLatin1String(stripFile::swath), mNumSamples);
  writer->addAttribute(QLatin1String(stripFile::offset), mSampleOffsetFromCalib);
  writer->writeElement(QLatin1String(stripFile::image), "");
}

std::string KESImage::statsFilename() const {
  return mParentStrip->imageDataLocation() + "/" + mImageFileName.substr(0, mImageFileName.rfind('.')) + ".stat";
}

raster::Statistics* KESImage::createStatistics() const {
  auto statistics = std::make_unique<raster::Statistics>(emptyStatistics());
  statistics->load(statsFilename(), 1.0F, raster::Statistics::allLayers);
  return statistics.release();
}

bool KESImage::checkForStatistics(raster::LayerType layer) const {
  return emptyStatistics().hasLayer(statsFilename(), layer);
}

}  // namespace sensor
