// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"
#include "model/StripBand.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <util/VectorOpLevel.h>

#include <cmath>

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
    mData->img(band)->setScale(imageScale(band));
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

// As with the solvers, the whole chain of the projection is drawn into its entry.
[[gnu::flatten]] void KESStripModel::imageToLsr(geo::XYPoint const& image, float height, int band,
                                                geo::XYZPoint& ground) const {
  StripBand(*mData, band).imageToLsr(image, height, ground);
}

[[gnu::flatten]] void KESStripModel::imageToLsr(geo::XYPoint const& image, float height, int band, float tdi,
                                                geo::XYZPoint& ground) const {
  StripBand(*mData, band).imageToLsr(image, height, ground, tdi);
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

}  // namespace sensor
