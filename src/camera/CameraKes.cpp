#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKes.h>

namespace sensor {

namespace {

template <class T>
T* find(std::map<std::string, std::unique_ptr<T>> const& records, std::string const& bandId) {
  auto const found = records.find(bandId);
  return found == records.end() ? nullptr : found->second.get();
}

}  // namespace

Camera::Camera() = default;

Camera::~Camera() = default;

CameraKes::CameraKes(std::string const& type, std::string const& sensorId, unsigned int version,
                     SerializerCameraKes const& serializer)
    : mSensorId(sensorId), mType(type), mVersion(version) {
  serializer.read(this);
}

CameraKes::~CameraKes() = default;

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
  std::unique_ptr<CalibrationGeometryKes> owned(geometry);
  mGeometries[owned->bandId()] = std::move(owned);
}

void CameraKes::addCalibrationRadiometry(CalibrationRadiometryKes* radiometry) {
  std::unique_ptr<CalibrationRadiometryKes> owned(radiometry);
  mRadiometries[owned->bandId()] = std::move(owned);
}

void CameraKes::setMisalignment(Misalignment* misalignment) {
  mMisalignment.reset(misalignment);
}

}  // namespace sensor
