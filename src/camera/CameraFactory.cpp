// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "camera/CameraFiles.h"
#include "common/QtText.h"

#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>
#include <util/SkerryIni.h>

#include <QDir>
#include <QSettings>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace sensor {

namespace {

std::string setting(char const* key) {
  return util::getSkerryIni().value(QLatin1String(key), QString()).toString().toStdString();
}

std::string cameraFolder(std::string const& searchPath, std::string const& type, std::string const& sensorId) {
  return searchPath + "/" + cameraFiles.cameraFolderName(type, sensorId);
}

std::string versionFolder(std::string const& searchPath, std::string const& type, std::string const& sensorId,
                          unsigned int version) {
  return cameraFolder(searchPath, type, sensorId) + "/" + cameraFiles.versionFolderName(version);
}

bool folderExists(std::string const& folder) {
  return QDir(fromUtf8(folder)).exists();
}

// The number after the first "v" of a version, or of the whole text; -1 when no number stands there.
int versionNumber(std::string const& version) {
  std::size_t const v = version.find('v');
  std::istringstream stream(v == std::string::npos ? version : version.substr(v + 1));
  stream.imbue(std::locale::classic());
  int number = -1;
  return stream >> number ? number : -1;
}

}  // namespace

// Filled in before the first use, when the library is loaded.
constinit CameraFiles cameraFiles{};

CameraFactory* CameraFactory::mCameraFactoryInstance = nullptr;

CameraFactory* CameraFactory::instance() {
  if (mCameraFactoryInstance == nullptr) {
    mCameraFactoryInstance = new CameraFactory;
  }
  return mCameraFactoryInstance;
}

CameraFactory::CameraFactory() {
  addSystemSearchPath();
}

CameraFactory::~CameraFactory() = default;

void CameraFactory::addSearchPath(std::string const& path) {
  mSearchPaths.insert(mSearchPaths.begin(), path);
}

void CameraFactory::clearSearchPaths() {
  mSearchPaths.clear();
  addSystemSearchPath();
}

void CameraFactory::addSystemSearchPath() {
  std::string const location = setting("Calibrations/location");
  if (!location.empty()) {
    addSearchPath(location);
  }
}

Camera const* CameraFactory::camera(std::string const& sensorId, std::string const& type, unsigned int version) {
  auto const cached = mCameras.find({sensorId, version});
  if (cached != mCameras.end()) {
    return cached->second.get();
  }
  for (std::string const& searchPath : mSearchPaths) {
    try {
      auto built = cameraFiles.build(type, sensorId, version, versionFolder(searchPath, type, sensorId, version));
      return (mCameras[{sensorId, version}] = std::move(built)).get();
    } catch (std::exception const&) {
      // Not here; perhaps further down the search.
      continue;
    }
  }
  return nullptr;
}

Camera const* CameraFactory::camera(std::string const& sensorId, std::string const& type, std::string const& version) {
  int const number = versionNumber(version);
  return number < 0 ? nullptr : camera(sensorId, type, static_cast<unsigned int>(number));
}

bool CameraFactory::validateCamera(std::string const& sensorId, std::string const& type, unsigned int version) {
  if (mCameras.count({sensorId, version}) > 0) {
    return true;
  }
  for (std::string const& searchPath : mSearchPaths) {
    if (folderExists(versionFolder(searchPath, type, sensorId, version))) {
      return true;
    }
  }
  return false;
}

bool CameraFactory::validateCamera(std::string const& sensorId, std::string const& type, std::string const& version) {
  int const number = versionNumber(version);
  return number >= 0 && validateCamera(sensorId, type, static_cast<unsigned int>(number));
}

void CameraFactory::calibrationVersions(std::string const& sensorId, std::string const& type,
                                        std::vector<std::string>& versions) {
  for (std::string const& searchPath : mSearchPaths) {
    QDir const folder(fromUtf8(cameraFolder(searchPath, type, sensorId)));
    auto const names = folder.entryList({QStringLiteral("v???")},
                                        QDir::Dirs | QDir::NoDotAndDotDot | QDir::CaseSensitive, QDir::Unsorted);
    for (QString const& name : names) {
      versions.push_back(name.toStdString());
    }
    if (!versions.empty()) {
      return;
    }
  }
}

std::vector<int> CameraFactory::calibrationVersions(std::string const& sensorId, std::string const& type) {
  std::vector<std::string> names;
  calibrationVersions(sensorId, type, names);
  std::vector<int> numbers;
  for (std::string const& name : names) {
    char* end = nullptr;
    long const number = std::strtol(name.c_str() + 1, &end, 10);
    if (*end == '\0') {
      numbers.push_back(static_cast<int>(number));
    }
  }
  return numbers;
}

std::string CameraFactory::calibrationVersionInfo(std::string const& sensorId, std::string const& type,
                                                  unsigned int version) {
  auto const cached = mCameras.find({sensorId, version});
  if (cached != mCameras.end()) {
    return cached->second->versionInfo();
  }
  for (std::string const& searchPath : mSearchPaths) {
    std::string const folder = versionFolder(searchPath, type, sensorId, version);
    if (folderExists(folder)) {
      return cameraFiles.versionInfo(folder);
    }
  }
  return {};
}

KesBQuickInfo CameraFactory::getCalibrationInformation(std::string const& sensorId, std::string const& type,
                                                       unsigned int version) {
  std::string folder;
  for (std::string const& searchPath : mSearchPaths) {
    folder = versionFolder(searchPath, type, sensorId, version);
    try {
      if (auto const info = cameraFiles.quickLook(folder)) {
        return *info;
      }
    } catch (std::exception const&) {
      // Not here; perhaps further down the search.
      continue;
    }
  }
  throw std::runtime_error("Unable to get quick information for location " + folder);
}

void CameraFactory::writeAdjustedCamera(Camera const* camera) {
  std::string const outputFolder = setting("CorvaneSensorCalibration/outputFolder");
  if (outputFolder.empty()) {
    return;
  }
  // The camera may be the cached one, and then doesn't outlive the reload.
  std::string const type = camera->type();
  std::string const sensorId = camera->sensorId();
  unsigned int const version = camera->version();
  std::string const folder = outputFolder + "/" + sensorId;
  QDir().mkpath(fromUtf8(folder));
  try {
    auto const* cameraKes = dynamic_cast<CameraKes const*>(camera);
    if (cameraKes == nullptr) {
      throw std::runtime_error("Camera can't be written: " + sensorId);
    }
    cameraFiles.write(*cameraKes, folder);
  } catch (std::exception const&) {
    reloadOriginalCamera(sensorId, type, version);
    throw;
  }
  reloadOriginalCamera(sensorId, type, version);
}

void CameraFactory::reloadOriginalCamera(std::string const& sensorId, std::string const& type, unsigned int version) {
  if (mCameras.erase({sensorId, version}) > 0) {
    camera(sensorId, type, version);
  }
}

}  // namespace sensor
