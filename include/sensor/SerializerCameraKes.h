// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/Serializer.h>
#include <sensor/kessensor_export.h>

#include <string>
#include <vector>

namespace sensor {

class CameraKes;

/// Fills a camera from the folder of one version of its calibration, and writes it there.
///
/// Below a folder with calibrations, a camera's folder is named by its type and sensor id ("KESA0_30107"), and holds a
/// folder for each version ("v003") with a note in "readme.txt".
class KESSENSOR_EXPORT SerializerCameraKes : public Serializer<CameraKes> {
public:
  ~SerializerCameraKes() override;
  SerializerCameraKes(SerializerCameraKes const&) = default;
  SerializerCameraKes& operator=(SerializerCameraKes const&) = default;

  /// Name of a camera's folder: type, "_", sensor id.
  static std::string cameraFolderName(std::string const& type, std::string const& sensorId);
  /// Name of a version's folder: "v" and at least three digits.
  static std::string versionFolderName(unsigned int const& version);
  /// The note of a version's folder, or "No calibration info found." when there is none. The file is UTF-8 or, with a
  /// byte-order mark, UTF-16.
  static std::string versionInfo(std::string const& folder);
  /// The versions in a camera's folder, the newest first. Of a folder's name only the last digit counts: "v012" is
  /// listed as 2, and equal numbers are all kept.
  static void calibrationVersions(std::string const& cameraFolder, std::vector<unsigned int>& versions);

protected:
  /// Backslashes in the folder become slashes.
  explicit SerializerCameraKes(std::string const& folder);

  std::string const& folder() const { return mFolder; }

private:
  std::string mFolder;
};

}  // namespace sensor
