// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/BadCalibration.h"
#include "project/ImageReader.h"
#include "project/ProjectFile.h"
#include "project/StripFile.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/Camera.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace sensor {

namespace {

// Also says what is wrong with an image on the standard error stream.
std::unique_ptr<KESImage> imageOf(XmlElement const& element, ImageReader const& reader, KESStripModelData* strip,
                                  bool load) {
  try {
    return reader.image(element, strip, load);
  } catch (std::exception const& failure) {
    std::cerr << failure.what() << '\n';
    throw;
  }
}

// What is missing first is appended to the message.
class Presence {
public:
  explicit Presence(std::string& message) : mMessage(message) {}

  bool of(char const* what, std::string const& path) {
    bool const present = QFileInfo::exists(fromUtf8(path));
    if (!present) {
      mMessage += std::string(what) + path + " doesn't exist!\n";
    }
    return present;
  }

private:
  std::string& mMessage;
};

}  // namespace

KESStripModelData::KESStripModelData(std::string const& fileName, KESStripModel* owner, bool load, bool useOriginalEOP,
                                     bool loadStdDevs)
    : mOwner(owner) {
  try {
    read(fileName, load, useOriginalEOP, loadStdDevs);
  } catch (...) {
    destroy();
    throw;
  }
}

KESStripModelData::~KESStripModelData() {
  unloadData();
  destroy();
}

void KESStripModelData::read(std::string const& fileName, bool load, bool useOriginalEOP, bool loadStdDevs) {
  StripDescription const strip = readStripFile(fileName);
  mFileName = fileName;
  mName = strip.name;
  mMeanTerrainHeight = strip.meanTerrainHeight;
  mCameraVersion = strip.cameraVersion;
  mSensorId = strip.sensorId;
  mSensorType = strip.sensorType;
  mOriginalEOPFileName = strip.originalEOPFileName;
  mAdjustedEOPFileName = strip.adjustedEOPFileName;
  mRawDataLocation = strip.rawDataLocation;
  mImageDataLocation = strip.imageDataLocation;
  ImageReader const reader(strip.folder);
  for (XmlElement const& element : strip.images) {
    attach(imageOf(element, reader, this, load).release());
  }
  if (!strip.fault.empty()) {
    throw std::runtime_error(strip.fault);
  }
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

void KESStripModelData::destroy() {
  for (KESImage* image : mImages) {
    delete image;
  }
  mImages.clear();
  delete mEop;
  mEop = nullptr;
}

void KESStripModelData::loadData(bool useOriginalEOP, bool loadStdDevs) {
  bool const original = useOriginalEOP || mAdjustedEOPFileName.empty();
  if (original != mUseOriginalEOP) {
    chooseEOP(original);
  }
  mEop->loadData(loadStdDevs);
  if (mCamera == nullptr) {
    findCamera();
    if (mCamera == nullptr) {
      throw std::runtime_error("KESStripModelData::loadData: no Camera found for sensor " + mSensorType +
                               " ID: " + mSensorId + " version: " + mCameraVersion);
    }
  }
  computeMeanFlyingHeight();
  for (KESImage* image : mImages) {
    image->loadData();
  }
  mCalibs.clear();
  computeGSDs();
  mDataLoaded = true;
}

// Reads the header alone. The old orientation goes when the new one stands.
void KESStripModelData::chooseEOP(bool useOriginalEOP) {
  auto eop = std::make_unique<EOPData>(useOriginalEOP ? mOriginalEOPFileName : mAdjustedEOPFileName, false, false);
  delete mEop;
  mEop = eop.release();
  mUseOriginalEOP = useOriginalEOP;
}

void KESStripModelData::findCamera() {
  mCamera = CameraFactory::instance()->camera(mSensorId, mSensorType, mCameraVersion);
}

// The middle between the lowest and the highest record, both held in single precision.
void KESStripModelData::computeMeanFlyingHeight() {
  EOP record;
  mEop->atIndex(0, record);
  auto minimum = static_cast<float>(record.z);
  float maximum = minimum;
  for (int i = 1; i < mEop->numSets(); ++i) {
    mEop->atIndex(i, record);
    if (record.z < static_cast<double>(minimum)) {
      minimum = static_cast<float>(record.z);
    } else if (record.z > static_cast<double>(maximum)) {
      maximum = static_cast<float>(record.z);
    }
  }
  mMeanFlyingHeight = (minimum + maximum) * 0.5F;
}

void KESStripModelData::computeGSDs() {
  for (KESImage* image : mImages) {
    CalibrationGeometryKes* const calibration = calibrationGeometry(image->bandID());
    if (calibration == nullptr) {
      throw badCalibration(image->bandID());
    }
    image->computeGSD(mMeanTerrainHeight, mMeanFlyingHeight, calibration);
    mCalibs.push_back(calibration);
  }
}

void KESStripModelData::unloadData() {
  if (mDataLoaded) {
    mCamera = nullptr;
    mCalibs.clear();
    mOwner = nullptr;
  }
  for (KESImage* image : mImages) {
    image->unloadData();
  }
  mEop->unloadData();
  mDataLoaded = false;
}

bool KESStripModelData::exportSupportFile(int band, std::string const& fileName) {
  return img(band)->exportSupportFile(fileName, "", "");
}

void KESStripModelData::attach(KESImage* image) {
  if (image != nullptr) {
    mImages.push_back(image);
    image->setParentStrip(this);
  }
}

void KESStripModelData::detach(KESImage* image) {
  if (image != nullptr) {
    mImages.erase(std::remove(mImages.begin(), mImages.end(), image), mImages.end());
    image->setParentStrip(nullptr);
  }
}

KESImage* KESStripModelData::img(int band) const {
  return band < 0 ? nullptr : mImages[static_cast<std::size_t>(band)];
}

KESImage* KESStripModelData::img(std::string const& bandId) const {
  return img(bandIndex(bandId));
}

int KESStripModelData::bandIndex(std::string const& bandId) const {
  auto const found =
      std::find_if(mImages.begin(), mImages.end(), [&](KESImage const* image) { return image->bandID() == bandId; });
  return found == mImages.end() ? -1 : static_cast<int>(found - mImages.begin());
}

std::string KESStripModelData::bandID(int band) const {
  return band < 0 || band >= numBands() ? std::string() : img(band)->bandID();
}

void KESStripModelData::bandIDs(std::vector<std::string>& bandIds) const {
  for (KESImage const* image : mImages) {
    bandIds.push_back(image->bandID());
  }
}

CalibrationGeometryKes* KESStripModelData::calib(int band) const {
  return mDataLoaded ? mCalibs[static_cast<std::size_t>(band)] : nullptr;
}

CalibrationGeometryKes* KESStripModelData::calibrationGeometry(std::string const& bandId) const {
  return mCamera == nullptr ? nullptr : dynamic_cast<CalibrationGeometryKes*>(mCamera->calibrationGeometry(bandId));
}

CalibrationRadiometry* KESStripModelData::calibrationRadiometry(std::string const& bandId) const {
  return mCamera == nullptr ? nullptr : mCamera->calibrationRadiometry(bandId);
}

void KESStripModelData::setMeanTerrainHeight(float height) {
  mMeanTerrainHeight = height;
  computeGSDs();
}

float KESStripModelData::computeNominalHeight(float gsd) const {
  float sum = 0.0F;
  int count = 0;
  for (KESImage const* image : mImages) {
    CalibrationGeometryKes const* calibration = calibrationGeometry(image->bandID());
    if (calibration != nullptr) {
      sum += image->computeNominalHeight(gsd, mMeanFlyingHeight, calibration);
      ++count;
    }
  }
  return count == 0 ? 0.0F : sum / static_cast<float>(count);
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
  enterAdjustedEOP(fileName, mAdjustedEOPFileName);
  mFileName = fileName;
}

}  // namespace sensor
