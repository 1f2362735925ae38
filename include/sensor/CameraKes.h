// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/Camera.h>
#include <sensor/kessensor_export.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sensor {

class SerializerCameraKes;

/// A camera as a serializer fills it: the geometries and radiometries of its bands, the misalignment of the inertial
/// unit and the offset of the mount. It owns all of them, and can't be copied. Read-only for everybody but the
/// serializer; then any number of threads may use it.
class KESSENSOR_EXPORT CameraKes : public Camera {
public:
  /// Has the serializer read into the new camera, which has no calibration before; what it throws leaves the
  /// constructor.
  CameraKes(std::string const& type, std::string const& sensorId, unsigned int version,
            SerializerCameraKes const& serializer);
  /// Frees the misalignment, the geometries and then the radiometries, in the order of their bands.
  ~CameraKes() override;
  CameraKes(CameraKes const&) = delete;
  CameraKes& operator=(CameraKes const&) = delete;

  std::string const& type() const override;
  std::string const& sensorId() const override;
  unsigned int version() const override;
  std::string const& versionInfo() const override;
  std::string const& calibrationFolder() const override;
  void bandIds(std::vector<std::string>& ids) const override;
  CalibrationGeometryKes* calibrationGeometry(std::string const& bandId) const override;
  CalibrationRadiometryKes* calibrationRadiometry(std::string const& bandId) const override;
  Misalignment const* misalignment() const override;

  /// Offset of the stabilised mount, metres.
  geo::XYZPoint mntOffset() const { return mMntOffset; }

  /// For serializers: what the getters of the same name give. The offset is in metres.
  void setType(std::string const& type) { mType = type; }
  void setSensorId(std::string const& sensorId) { mSensorId = sensorId; }
  void setVersion(unsigned int version) { mVersion = version; }
  void setVersionInfo(std::string const& info) { mVersionInfo = info; }
  void setCalibrationFolder(std::string const& folder) { mCalibrationFolder = folder; }
  void setMntOffset(geo::XYZPoint const& offset) { mMntOffset = offset; }

  /// Takes over a geometry, not null, under the band id that it has now; another one that was there under that id is
  /// freed.
  void addCalibrationGeometry(CalibrationGeometryKes* geometry);
  /// The same for a radiometry.
  void addCalibrationRadiometry(CalibrationRadiometryKes* radiometry);
  /// Takes over both, neither null, each under its band id. When memory is short the camera gets neither.
  void addCalibrations(std::unique_ptr<CalibrationGeometryKes> geometry,
                       std::unique_ptr<CalibrationRadiometryKes> radiometry);
  /// Takes over a misalignment, or null for none, in place of the one before, which is freed.
  void setMisalignment(Misalignment* misalignment);

private:
  std::unique_ptr<Misalignment> mMisalignment;
  geo::XYZPoint mMntOffset;
  std::map<std::string, std::unique_ptr<CalibrationGeometryKes>> mGeometries;
  std::map<std::string, std::unique_ptr<CalibrationRadiometryKes>> mRadiometries;
  std::string mSensorId;
  std::string mType;
  unsigned int mVersion;
  std::string mVersionInfo;
  std::string mCalibrationFolder;
};

}  // namespace sensor
