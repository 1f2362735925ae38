// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/GeoLensSystem.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/KesBGeoCalibData.h>

#include <utility>

namespace xmlFileData {

namespace {

auto hasChannel(std::string const& band) {
  return [&band](GeoSensor const& sensor) { return equalInAnyCase(sensor.gridView().channel(), band); };
}

}  // namespace

KesBGeoCalibData::KesBGeoCalibData() = default;

GeoMisalignment KesBGeoCalibData::misalignmentValues() const {
  return mMisalignment;
}

void KesBGeoCalibData::setMisalignmentValues(GeoMisalignment const& misalignment) {
  mMisalignment = misalignment;
}

void KesBGeoCalibData::setLensSystem(GeoLensSystem const& lensSystem) {
  mLensSystem = lensSystem;
  mHasLensSystem = true;
}

void KesBGeoCalibData::setSensors(std::map<int, GeoSensor> sensors) {
  mSensors = std::move(sensors);
  mHasSensors = true;
}

GeoSensor const& KesBGeoCalibData::sensorData(std::string const& band) const {
  return findSensor(mSensors, band, hasChannel(band));
}

GeoSensor& KesBGeoCalibData::sensorData(std::string const& band) {
  return findSensor(mSensors, band, hasChannel(band));
}

bool KesBGeoCalibData::operator==(KesBGeoCalibData const& other) const {
  return system() == other.system() && creation() == other.creation() && version() == other.version() &&
         isCommented() == other.isCommented() && mLensSystem == other.mLensSystem &&
         mMisalignment == other.mMisalignment && mSensors == other.mSensors;
}

bool GeoLensSystem::operator==(GeoLensSystem const& other) const {
  constexpr int decimals = 4;
  return sameDecimals(principalDistance, other.principalDistance, decimals) &&
         sameDecimals(sigmaPrincipalDistance, other.sigmaPrincipalDistance, decimals);
}

bool GeoMisalignment::operator==(GeoMisalignment const& other) const {
  constexpr int decimals = 5;
  return sameDecimals(Omega, other.Omega, decimals) && sameDecimals(SigmaOmega, other.SigmaOmega, decimals) &&
         sameDecimals(Phi, other.Phi, decimals) && sameDecimals(SigmaPhi, other.SigmaPhi, decimals) &&
         sameDecimals(Kappa, other.Kappa, decimals) && sameDecimals(SigmaKappa, other.SigmaKappa, decimals);
}

}  // namespace xmlFileData
