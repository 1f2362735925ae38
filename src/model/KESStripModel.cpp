// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"
#include "model/StripBand.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <util/VectorOpLevel.h>

#include <cmath>
#include <stdexcept>

namespace sensor {

namespace {

constexpr double twoPi = 6.283185307179586;

float distance(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  double const dx = b.x - a.x;
  double const dy = b.y - a.y;
  double const dz = b.z - a.z;
  return static_cast<float>(std::sqrt(dx * dx + dy * dy + dz * dz));
}

bool isLength(float value) {
  return std::isfinite(value) && value != 0.0F;
}

}  // namespace

KESStripModel::KESStripModel() : mSseEnabled(vectorOpEnabled(util::vectorOpLevel())) {}

KESStripModel::KESStripModel(std::string const& fileName, bool load, bool useOriginalEOP, bool loadStdDevs)
    : KESStripModel() {
  build(fileName, load, useOriginalEOP, loadStdDevs);
}

KESStripModel::KESStripModel(std::string const& fileName, BlockModelData* parentBlock, bool load, bool useOriginalEOP,
                             bool loadStdDevs)
    : KESStripModel() {
  mParentBlock = parentBlock;
  build(fileName, load, useOriginalEOP, loadStdDevs);
}

KESStripModel::~KESStripModel() {
  if (mData != nullptr) {
    mData->unloadData();
  }
  delete mData;
  delete mLsrSystem;
}

// A constructor that delegates has an object to destroy when this throws.
void KESStripModel::build(std::string const& fileName, bool load, bool useOriginalEOP, bool loadStdDevs) {
  mData = new KESStripModelData(fileName, this, load, useOriginalEOP, loadStdDevs);
  initialize(load);
}

void KESStripModel::initialize(bool load) {
  geo::coordSysFactory const* const factory = geo::coordSysFactory::getInstance();
  mLsrSystem = factory->createLSR84(mData->eop()->anchorPoint());
  mMappingSystem = factory->createGEO84(false, false);
  if (load) {
    computeImageScales();
    calculateAzimuth();
  }
}

void KESStripModel::computeImageScales() {
  for (int band = 0; band < numBands(); ++band) {
    KESImage& image = *mData->img(band);
    image.setScale(imageScale(band));
    LineOrientation(image, *mData->eop()).keepHeading(image);
  }
}

// From the ground positions of the image's corners at the mean terrain height.
float KESStripModel::imageScale(int band) const {
  KESImage const& image = *mData->img(band);
  float const height = mData->meanTerrainHeight();
  auto const lastSample = static_cast<float>(truncated<std::int32_t>(static_cast<float>(image.numSamples()) - 1.0F));
  float const lastLine = static_cast<float>(image.cameraTime()->size()) - 1.0F;
  auto const corner = [&](float sample, float line) {
    geo::XYZPoint ground;
    imageToLsr({static_cast<double>(sample), static_cast<double>(line)}, height, band, ground);
    return ground;
  };
  geo::XYZPoint const firstLeft = corner(0.0F, 0.0F);
  geo::XYZPoint const firstRight = corner(lastSample, 0.0F);
  geo::XYZPoint const lastLeft = corner(0.0F, lastLine);
  geo::XYZPoint const lastRight = corner(lastSample, lastLine);
  float const along = (distance(firstLeft, lastLeft) + distance(firstRight, lastRight)) * 0.5F / lastLine;
  float const across = (distance(firstLeft, firstRight) + distance(lastLeft, lastRight)) * 0.5F / lastSample;
  return isLength(across) && isLength(along) ? across / along : 1.0F;
}

void KESStripModel::calculateAzimuth() {
  if (numBands() == 0) {
    return;
  }
  CameraTime const& time = *mData->img(0)->cameraTime();
  EOP first = unknownOrientation();
  EOP last = unknownOrientation();
  mData->eop()->atGPS(time.gpsTime(0.0F), first);
  mData->eop()->atGPS(time.gpsTime(static_cast<float>(static_cast<double>(time.size()) - 1.0)), last);
  double a = std::atan2(last.x - first.x, last.y - first.y);
  if (a < 0.0) {
    a += twoPi;
  }
  mAzimuth = static_cast<float>(a);
}

void KESStripModel::loadData(bool useOriginalEOP, bool loadStdDevs) {
  mData->loadData(useOriginalEOP, loadStdDevs);
  computeImageScales();
  calculateAzimuth();
}

void KESStripModel::unloadData() {
  if (mData != nullptr) {
    mData->unloadData();
  }
}

bool KESStripModel::isDataLoaded() const {
  return mData != nullptr && mData->isDataLoaded();
}

bool KESStripModel::isValid() const {
  return mData != nullptr && mMappingSystem != nullptr && mLsrSystem != nullptr && mParentBlock != nullptr;
}

void KESStripModel::imageToFocal(geo::XYPoint const& image, int band, geo::XYPoint& focal) const {
  mData->calib(band)->imageToFocal(image, mData->img(band)->offsetFromCalib(), focal);
}

void KESStripModel::computeOrientation(float line, int band, EOP& eop, float& lineCorrection) const {
  LineOrientation(*mData->img(band), *mData->eop()).computeOrientation(line, eop, lineCorrection);
}

void KESStripModel::computeOrientation(float line, int band, float tdi, EOP& eop, float& lineCorrection) const {
  LineOrientation(*mData->img(band), *mData->eop()).computeOrientation(line, tdi, eop, lineCorrection);
}

void KESStripModel::applyLineCorrection(bool add, geo::XYPoint const& focal, float lineCorrection,
                                        geo::XYPoint& corrected) const {
  auto const correction = static_cast<double>(lineCorrection);
  corrected = {add ? focal.x + correction : focal.x - correction, focal.y};
}

void KESStripModel::imageToL0(geo::XYPoint const& image, int /*band*/, geo::XYPoint& l0) const {
  l0 = image;
}

void KESStripModel::l0ToImage(geo::XYPoint const& l0, int /*band*/, geo::XYPoint& image) const {
  image = l0;
}

void KESStripModel::setMappingSystem(geo::coordSys* system) {
  mMappingSystem = system;
}

geo::coordSys* KESStripModel::mappingSystem() const {
  return mMappingSystem;
}

geo::coordSys* KESStripModel::lsrSystem() const {
  return mLsrSystem;
}

bool KESStripModel::sseEnabled() const {
  return mSseEnabled;
}

bool KESStripModel::vectorOpEnabled(float level) {
  return level >= 4.1F;
}

float KESStripModel::flightAzimuth() const {
  return mAzimuth;
}

void KESStripModel::requireSelf(SensorModelBase const& other) const {
  if (&other != this) {
    throw std::runtime_error("KES stereo between different strips is not supported.");
  }
}

float KESStripModel::stereoAzimuth(SensorModelBase const& other) const {
  requireSelf(other);
  return flightAzimuth();
}

double KESStripModel::baseHeightRatio(SensorModelBase const& other, int a, int b, float /*height*/) const {
  return baseHeightRatio(other, a, b);
}

double KESStripModel::baseHeightRatio(SensorModelBase const& other, int a, int b) const {
  requireSelf(other);
  return static_cast<double>(std::fabs(std::tan(lookAngle(a)) - std::tan(lookAngle(b))));
}

bool KESStripModel::isEpipolarCurved() const {
  return true;
}

float KESStripModel::azimuth(geo::XYPoint const& image, int band) const {
  return mData->calib(band)->azimuth(image, mData->img(band)->offsetFromCalib()) + flightAzimuth();
}

float KESStripModel::zenith(geo::XYPoint const& image, int band) const {
  return mData->calib(band)->zenith(image, mData->img(band)->offsetFromCalib());
}

float KESStripModel::lookAngle(int band) const {
  return mData->calib(band)->lookAngle();
}

double KESStripModel::meanFlyingHeight() const {
  return mData == nullptr ? 0.0 : static_cast<double>(mData->meanFlyingHeight());
}

double KESStripModel::meanTerrainHeight() const {
  return mData == nullptr ? 0.0 : static_cast<double>(mData->meanTerrainHeight());
}

void KESStripModel::setMeanTerrainHeight(float height) {
  mData->setMeanTerrainHeight(height);
}

float KESStripModel::gsd(int band) const {
  return mData->img(band)->gsd();
}

float KESStripModel::mappingSystemGsd(int band) {
  return gsd(band) / static_cast<float>(mMappingSystem->horizontalUnits().getScale());
}

float KESStripModel::scale(int band) const {
  return mData->img(band)->scale();
}

TdiStage* KESStripModel::tdiData(int band) const {
  return mData->img(band)->tdiData();
}

float KESStripModel::tdi(int band, float line) const {
  return mData->img(band)->tdi(line);
}

TimeQuantity<double> KESStripModel::integrationTime(int band, float line) const {
  return seconds(static_cast<double>(mData->img(band)->integrationTime(line)));
}

CalibrationGeometry* KESStripModel::calibrationGeometry(int band) const {
  return isDataLoaded() ? mData->calib(band) : nullptr;
}

CalibrationRadiometry* KESStripModel::calibrationRadiometry(int band) const {
  return mData->calibrationRadiometry(mData->bandID(band));
}

unsigned int KESStripModel::imageWidth(int band) const {
  return static_cast<unsigned int>(mData->img(band)->numSamples());
}

unsigned int KESStripModel::imageIlluminatedWidth(int band) const {
  return static_cast<unsigned int>(mData->img(band)->numImagingSamples());
}

unsigned int KESStripModel::imageHeight(int band) const {
  return static_cast<unsigned int>(mData->img(band)->numScanlines());
}

TimeQuantity<std::uint32_t> KESStripModel::absTime() const {
  return mData->eop()->absTime();
}

TimeQuantity<double> KESStripModel::gpsTime(geo::XYPoint const& image, int band) const {
  return mData->img(band)->gpsTime(static_cast<float>(image.y));
}

EOPData* KESStripModel::eop() const {
  return mData == nullptr ? nullptr : mData->eop();
}

KESImage* KESStripModel::img(int band) const {
  return mData == nullptr ? nullptr : mData->img(band);
}

int KESStripModel::numBands() const {
  return mData == nullptr ? 0 : mData->numBands();
}

void KESStripModel::bandIDs(std::vector<std::string>& bandIds) const {
  if (mData != nullptr) {
    mData->bandIDs(bandIds);
  }
}

std::string KESStripModel::bandID(int band) const {
  return mData == nullptr ? std::string() : mData->bandID(band);
}

int KESStripModel::bandIndex(std::string const& bandId) const {
  return mData == nullptr ? -1 : mData->bandIndex(bandId);
}

std::string KESStripModel::name() const {
  return mData == nullptr ? std::string() : mData->name();
}

std::string KESStripModel::eopFileName() const {
  return mData == nullptr ? std::string() : mData->eopFileName();
}

bool KESStripModel::isUseAdjustedEOP() const {
  return mData != nullptr && mData->isUseAdjustedEOP();
}

bool KESStripModel::isUseOriginalEOP() const {
  return mData != nullptr && mData->isUseOriginalEOP();
}

bool KESStripModel::isAdjustedEOPFile() const {
  return mData != nullptr && mData->isAdjustedEOPFile();
}

void KESStripModel::completeEOPAdjustment() {
  mData->completeEOPAdjustment();
}

}  // namespace sensor
