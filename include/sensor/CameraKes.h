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

/// A camera as a serializer fills it. Read-only for everybody else; then any number of threads may use it.
class KESSENSOR_EXPORT CameraKes : public Camera {
public:
  /// Has the serializer read into the new camera; what it throws leaves the constructor.
  CameraKes(std::string const& type, std::string const& sensorId, unsigned int version,
            SerializerCameraKes const& serializer);
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

  void setType(std::string const& type) { mType = type; }
  void setSensorId(std::string const& sensorId) { mSensorId = sensorId; }
  void setVersion(unsigned int version) { mVersion = version; }
  void setVersionInfo(std::string const& info) { mVersionInfo = info; }
  void setCalibrationFolder(std::string const& folder) { mCalibrationFolder = folder; }
  void setMntOffset(geo::XYZPoint const& offset) { mMntOffset = offset; }

  /// Takes over a geometry under the band id that it has now; one that was there under that id is freed.
  void addCalibrationGeometry(CalibrationGeometryKes* geometry);
  /// The same for a radiometry.
  void addCalibrationRadiometry(CalibrationRadiometryKes* radiometry);
  /// Takes over a misalignment in place of the one before, which is freed.
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
