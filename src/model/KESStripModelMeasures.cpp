// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/StripBand.h"

#include <geo/coordSys.h>
#include <geo/units.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <cmath>
#include <stdexcept>

namespace sensor {

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
