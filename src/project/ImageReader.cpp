// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/ImageReader.h"

#include "common/QtText.h"
#include "files/formats/ProjectFiles.h"
#include "project/PointListPlaces.h"
#include "project/ProjectFile.h"

#include <sensor/CameraTime.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/TdiStage.h>

#include <QFileInfo>

namespace sensor {

namespace {

constexpr float unknownIntegrationTime = -1.0F;
constexpr float noTdi = 1.0F;
constexpr double millisecond = 0.001;

// A number is milliseconds, any other text the name of a file.
std::unique_ptr<IntegrationTime> integrationTimeOf(XmlElement const& element, std::string const& stripFolder) {
  if (!element.has(stripFile::integrationTime)) {
    return std::make_unique<IntegrationTime>(unknownIntegrationTime);
  }
  bool isNumber = false;
  float const value = element.qtText(stripFile::integrationTime).toFloat(&isNumber);
  if (isNumber) {
    return std::make_unique<IntegrationTime>(static_cast<float>(static_cast<double>(value) * millisecond));
  }
  return std::make_unique<IntegrationTime>(resolved(element.text(stripFile::integrationTime), stripFolder));
}

std::unique_ptr<TdiStage> tdiStageOf(XmlElement const& element, std::string const& stripFolder) {
  if (!element.has(stripFile::tdi)) {
    return std::make_unique<TdiStage>(noTdi);
  }
  return std::make_unique<TdiStage>(resolved(element.text(stripFile::tdi), stripFolder));
}

}  // namespace

ImageReader::ImageReader(std::string const& stripFolder)
    : mStripFolder(stripFolder), mPointListFolders(pointListFolders(fromUtf8(stripFolder))) {}

std::unique_ptr<KESImage> ImageReader::image(XmlElement const& element, KESStripModelData* parent, bool load) const {
  std::unique_ptr<KESImage> image(new KESImage(parent));
  read(element, load, *image);
  return image;
}

void ImageReader::read(XmlElement const& element, bool load, KESImage& image) const {
  auto cameraTime = std::make_unique<CameraTime>();
  std::unique_ptr<IntegrationTime> integrationTime;
  std::unique_ptr<TdiStage> tdi;
  if (fromUtf8(element.name).toLower() == QLatin1String("image")) {
    readAttributes(element, image);
    cameraTime->setCtgFileName(resolved(element.text(stripFile::timing), mStripFolder));
    integrationTime = integrationTimeOf(element, mStripFolder);
    tdi = tdiStageOf(element, mStripFolder);
  }
  findPointList(image);
  if (load) {
    cameraTime->loadData();
    image.mDataLoaded = true;
  }
  image.mCameraTime = cameraTime.release();
  image.mIntegrationTime = integrationTime.release();
  image.mTdiData = tdi.release();
}

void ImageReader::readAttributes(XmlElement const& element, KESImage& image) const {
  image.mImageFileName = element.text(stripFile::fileName);
  image.mBandID = element.text(stripFile::band);
  image.mFootprintFileName = resolved(element.text(stripFile::footprint), mStripFolder);
  image.mNumSamples = element.qtText(stripFile::swath, stripFile::usualSwath).toInt();
  image.mSampleOffsetFromCalib = element.qtText(stripFile::offset, stripFile::usualOffset).toInt();
}

// In the first of the folders that has it.
void ImageReader::findPointList(KESImage& image) const {
  auto const name = pointListName(image.imageFileName());
  if (!name) {
    return;
  }
  for (std::string const& folder : mPointListFolders) {
    std::string const place = folder + "/" + name->toStdString();
    if (QFileInfo::exists(fromUtf8(place))) {
      image.setIPTFileName(place);
      return;
    }
  }
}

}  // namespace sensor
