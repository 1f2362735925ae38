// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/KesBQuickInfo.h>

#include <memory>
#include <optional>
#include <string>

namespace sensor {

class CameraKes;
class Misalignment;
class SerializerCameraKes;
class SerializerMisalignmentV1Dat;

/// What cameras need of the files of their calibrations. The serializers, which stand above this folder, fill it in
/// when the library is loaded.
struct CameraFiles {
  /// Name of a camera's folder in a search path.
  std::string (*cameraFolderName)(std::string const& type, std::string const& sensorId);
  /// Name of a version's folder in the camera's.
  std::string (*versionFolderName)(unsigned int const& version);
  /// The note of a version's folder.
  std::string (*versionInfo)(std::string const& folder);
  /// Misalignment and creation of a version's folder, if it has both; throws where it can't be read.
  std::optional<KesBQuickInfo> (*quickLook)(std::string const& folder);
  /// Builds the camera of a version's folder by the files of its type; throws what their serializer throws.
  std::unique_ptr<CameraKes> (*build)(std::string const& type, std::string const& sensorId, unsigned int version,
                                      std::string const& folder);
  /// Writes a camera below a folder into the files of its type; throws what their serializer throws.
  void (*write)(CameraKes const& camera, std::string const& folder);
  /// The serializers' own `read`.
  void (*readCamera)(SerializerCameraKes const& serializer, CameraKes* camera);
  void (*readMisalignment)(SerializerMisalignmentV1Dat const& serializer, Misalignment* misalignment);
};

extern CameraFiles cameraFiles;

}  // namespace sensor
