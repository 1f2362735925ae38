// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "camera/CameraFiles.h"

#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>

namespace sensor {

namespace {

template <class T>
T* find(std::map<std::string, std::unique_ptr<T>> const& records, std::string const& bandId) {
  auto const found = records.find(bandId);
  return found == records.end() ? nullptr : found->second.get();
}

// A record as a node of the camera's map, which goes into it without memory of its own.
template <class T>
auto nodeOf(std::unique_ptr<T> record) {
  std::string const bandId = record->bandId();
  std::map<std::string, std::unique_ptr<T>> alone;
  alone.emplace(bandId, std::move(record));
  return alone.extract(alone.begin());
}

template <class Records>
void enter(Records& records, typename Records::node_type node) {
  auto entry = records.insert(std::move(node));
  if (!entry.inserted) {
    entry.position->second = std::move(entry.node.mapped());
  }
}

// A record that is entered again where it already stands must not be freed by that.
template <class T>
void enter(std::map<std::string, std::unique_ptr<T>>& records, T* record) {
  if (record != find(records, record->bandId())) {
    enter(records, nodeOf(std::unique_ptr<T>(record)));
  }
}

template <class T>
void freeAll(std::map<std::string, std::unique_ptr<T>>& records) {
  for (auto& [bandId, record] : records) {
    record.reset();
  }
}

}  // namespace

Camera::Camera() = default;

Camera::~Camera() = default;

CameraKes::CameraKes(std::string const& type, std::string const& sensorId, unsigned int version,
                     SerializerCameraKes const& serializer)
    : mSensorId(sensorId), mType(type), mVersion(version) {
  cameraFiles.readCamera(serializer, this);
}

// Members would go the other way round, and a map's values in an unspecified order; derived calibrations see it.
CameraKes::~CameraKes() {
  mMisalignment.reset();
  freeAll(mGeometries);
  freeAll(mRadiometries);
}

std::string const& CameraKes::type() const {
  return mType;
}

std::string const& CameraKes::sensorId() const {
  return mSensorId;
}

unsigned int CameraKes::version() const {
  return mVersion;
}

std::string const& CameraKes::versionInfo() const {
  return mVersionInfo;
}

std::string const& CameraKes::calibrationFolder() const {
  return mCalibrationFolder;
}

void CameraKes::bandIds(std::vector<std::string>& ids) const {
  for (auto const& [bandId, geometry] : mGeometries) {
    ids.push_back(bandId);
  }
}

CalibrationGeometryKes* CameraKes::calibrationGeometry(std::string const& bandId) const {
  return find(mGeometries, bandId);
}

CalibrationRadiometryKes* CameraKes::calibrationRadiometry(std::string const& bandId) const {
  return find(mRadiometries, bandId);
}

Misalignment const* CameraKes::misalignment() const {
  return mMisalignment.get();
}

void CameraKes::addCalibrationGeometry(CalibrationGeometryKes* geometry) {
  enter(mGeometries, geometry);
}

void CameraKes::addCalibrationRadiometry(CalibrationRadiometryKes* radiometry) {
  enter(mRadiometries, radiometry);
}

void CameraKes::addCalibrations(std::unique_ptr<CalibrationGeometryKes> geometry,
                                std::unique_ptr<CalibrationRadiometryKes> radiometry) {
  auto geometryNode = nodeOf(std::move(geometry));
  auto radiometryNode = nodeOf(std::move(radiometry));
  enter(mGeometries, std::move(geometryNode));
  enter(mRadiometries, std::move(radiometryNode));
}

void CameraKes::setMisalignment(Misalignment* misalignment) {
  if (misalignment != mMisalignment.get()) {
    mMisalignment.reset(misalignment);
  }
}

}  // namespace sensor
