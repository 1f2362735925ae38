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

// A record that is entered again where it already stands must not be freed by that.
template <class T>
void enter(std::map<std::string, std::unique_ptr<T>>& records, T* record) {
  std::string const& bandId = record->bandId();
  if (record != find(records, bandId)) {
    std::unique_ptr<T> owned(record);
    records[bandId] = std::move(owned);
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
  serializer.read(this);
}

// Members would go the other way round, and a map's values in no order that is told; derived calibrations see it.
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

void CameraKes::setMisalignment(Misalignment* misalignment) {
  if (misalignment != mMisalignment.get()) {
    mMisalignment.reset(misalignment);
  }
}

}  // namespace sensor
