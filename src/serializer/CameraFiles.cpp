// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "camera/CameraFiles.h"

#include "serializer/CalibrationQuickLook.h"

#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <sensor/SerializerMisalignmentV1Dat.h>

namespace sensor {

namespace {

// The type of camera whose calibration is kept as XML.
constexpr char const* xmlCameraType = "HDB00";

std::unique_ptr<SerializerCameraKes> serializerOf(std::string const& type, std::string const& folder) {
  if (type == xmlCameraType) {
    return std::make_unique<SerializerCameraKesV2Xml>(folder);
  }
  return std::make_unique<SerializerCameraKesV1Cam>(folder);
}

std::unique_ptr<CameraKes> build(std::string const& type, std::string const& sensorId, unsigned int version,
                                 std::string const& folder) {
  return std::make_unique<CameraKes>(type, sensorId, version, *serializerOf(type, folder));
}

void write(CameraKes const& camera, std::string const& folder) {
  serializerOf(camera.type(), folder)->write(&camera);
}

void readCamera(SerializerCameraKes const& serializer, CameraKes* camera) {
  serializer.read(camera);
}

void readMisalignment(SerializerMisalignmentV1Dat const& serializer, Misalignment* misalignment) {
  serializer.read(misalignment);
}

bool fillIn() {
  cameraFiles = {.cameraFolderName = SerializerCameraKes::cameraFolderName,
                 .versionFolderName = SerializerCameraKes::versionFolderName,
                 .versionInfo = SerializerCameraKes::versionInfo,
                 .quickLook = quickLook,
                 .build = build,
                 .write = write,
                 .readCamera = readCamera,
                 .readMisalignment = readMisalignment};
  return true;
}

}  // namespace

}  // namespace sensor

// By this name a program that links the static library gets this source (see CMakeLists.txt).
extern "C" bool const kessensorCameraFiles = sensor::fillIn();
