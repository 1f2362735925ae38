// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/KesBQuickInfo.h>
#include <sensor/kessensor_export.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sensor {

class Camera;

/// The one way to a camera. Keeps the folders with calibrations in the order in which they are searched, and all
/// cameras it has built, which it owns: callers never delete one, and a camera lives until an adjusted form of it is
/// written.
///
/// One for the process. It has no lock: threads must not use it concurrently.
class KESSENSOR_EXPORT CameraFactory {
public:
  /// The factory of the process, made at the first call. It starts with the folder of the setting
  /// "Calibrations/location".
  static CameraFactory* instance();
  CameraFactory(CameraFactory const&) = delete;
  CameraFactory& operator=(CameraFactory const&) = delete;

  /// Adds a folder in front: the one added last is searched first.
  void addSearchPath(std::string const& path);
  /// Drops all folders except the setting's, which is read anew. Cameras that were built stay.
  void clearSearchPaths();
  std::vector<std::string> const& searchPaths() const { return mSearchPaths; }

  /// The camera of a sensor id, type and calibration version; null when no folder has it. A camera that was built
  /// before comes back for its sensor id and version, for any type. A calibration that can't be read is passed over
  /// without a word, in favour of one further down the search.
  Camera const* camera(std::string const& sensorId, std::string const& type, unsigned int version);
  /// The same for a version as text: the number after the first "v", or the whole. Null when it isn't a number.
  Camera const* camera(std::string const& sensorId, std::string const& type, std::string const& version);

  /// Whether the camera was built before or a folder of that version exists; its files are not opened.
  bool validateCamera(std::string const& sensorId, std::string const& type, unsigned int version);
  bool validateCamera(std::string const& sensorId, std::string const& type, std::string const& version);

  /// Appends the names of the version folders ("v" and three characters) of a camera, in no particular order: those of
  /// the first folder with calibrations after which `versions` isn't empty.
  void calibrationVersions(std::string const& sensorId, std::string const& type, std::vector<std::string>& versions);
  /// The same as numbers; names whose rest after the "v" isn't a number are left out.
  std::vector<int> calibrationVersions(std::string const& sensorId, std::string const& type);
  /// The note of a version; empty when there is no such version.
  std::string calibrationVersionInfo(std::string const& sensorId, std::string const& type, unsigned int version);

  /// A quick look at the geometry file of a version of the newer cameras' XML calibrations, which builds no camera:
  /// from the first folder that has one. Throws std::runtime_error "Unable to get quick information for location " +
  /// the version's folder in the last place that was searched.
  KesBQuickInfo getCalibrationInformation(std::string const& sensorId, std::string const& type, unsigned int version);

  /// Writes a camera into the folder of the setting "CorvaneSensorCalibration/outputFolder", below its sensor id; does
  /// nothing without that setting. Afterwards, also when writing failed, a camera of that sensor id and version is
  /// built anew from the search folders, and a pointer to the old one is dead. Throws what the serializer throws, and
  /// std::runtime_error "Camera can't be written: " + sensor id for a camera of another make.
  void writeAdjustedCamera(Camera const* camera);

private:
  using Key = std::pair<std::string, unsigned int>;

  CameraFactory();
  ~CameraFactory();

  void addSystemSearchPath();
  void reloadOriginalCamera(std::string const& sensorId, std::string const& type, unsigned int version);

  std::vector<std::string> mSearchPaths;
  std::map<Key, std::unique_ptr<Camera>> mCameras;
  static CameraFactory* mCameraFactoryInstance;
};

}  // namespace sensor
