// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"
#include "files/StartableThreads.h"
#include "files/formats/CalibrationXml.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QDir>
#include <QDomDocument>

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <omp.h>
#include <utility>
#include <vector>

namespace sensor {

namespace {

namespace radiocal = calibrationXml::radiocal;

using ValuesByBand = std::map<std::string, float>;

// Paths of the CAM files of a folder, in order of their names.
std::vector<std::string> camFiles(std::string const& folder) {
  std::vector<std::string> paths;
  auto const entries = QDir(fromUtf8(folder)).entryInfoList({QStringLiteral("*.cam")}, QDir::Files, QDir::Name);
  for (QFileInfo const& entry : entries) {
    paths.push_back(entry.canonicalFilePath().toStdString());
  }
  return paths;
}

// A spectral value of the CAM file wins over the folder's table.
void completeSpectralValues(CalibrationRadiometryKesV1& radiometry, ValuesByBand const& centers,
                            ValuesByBand const& widths) {
  auto const center = centers.find(radiometry.bandId());
  if (!(radiometry.centerWavelength() > 0.0F) && center != centers.end()) {
    radiometry.setCenterWavelength(center->second);
  }
  auto const width = widths.find(radiometry.bandId());
  if (!(radiometry.bandWidth() > 0.0F) && width != widths.end()) {
    radiometry.setBandWidth(width->second);
  }
}

// Enters a band into the camera. When there is no memory for it the camera hasn't the band: nothing may be thrown out
// of a critical section.
void enterBand(CameraKes& camera, std::unique_ptr<CalibrationGeometryKes> geometry,
               std::unique_ptr<CalibrationRadiometryKesV1> radiometry) {
  try {
    camera.addCalibrations(std::move(geometry), std::move(radiometry));
  } catch (std::exception const&) {
    return;
  }
}

// Nanometres of an attribute in metres.
float metresOf(QDomElement const& band, char const* attribute, bool& isNumber) {
  return band.attribute(QLatin1String(attribute)).toFloat(&isNumber) * 1e-9F;
}

void addBand(QDomElement const& band, ValuesByBand& centers, ValuesByBand& widths) {
  bool hasCenter = false;
  bool hasWidth = false;
  float const center = metresOf(band, radiocal::centre, hasCenter);
  float const width = metresOf(band, radiocal::width, hasWidth);
  std::string const name = band.attribute(QLatin1String(radiocal::name)).toStdString();
  if (!name.empty() && hasCenter && hasWidth) {
    centers[name] = center;
    widths[name] = width;
  }
}

}  // namespace

SerializerCameraKesV1Cam::SerializerCameraKesV1Cam(std::string const& folder)
    : SerializerCameraKes(folder), mMisalignment(folder + "/misalignment.dat") {}

SerializerCameraKesV1Cam::~SerializerCameraKesV1Cam() = default;

void SerializerCameraKesV1Cam::read(CameraKes* camera) const {
  camera->setVersionInfo(versionInfo(folder()));
  camera->setCalibrationFolder(folder());
  auto misalignment = std::make_unique<Misalignment>();
  mMisalignment.read(misalignment.get());
  camera->setMisalignment(misalignment.release());
  addCalibrations(camera);
}

void SerializerCameraKesV1Cam::write(CameraKes const* camera) const {
  std::vector<std::string> bandIds;
  camera->bandIds(bandIds);
  for (std::string const& bandId : bandIds) {
    writeCam(folder() + "/" + bandId + ".cam", camera, bandId);
  }
  if (camera->misalignment() != nullptr) {
    mMisalignment.write(camera->misalignment());
  }
}

void SerializerCameraKesV1Cam::addCalibrations(CameraKes* camera) const {
  ValuesByBand centers;
  ValuesByBand widths;
  readRadiocal(folder() + "/" + radiocal::fileName, centers, widths);
  std::vector<std::string> const paths = camFiles(folder());
  camera->setMntOffset({0.0, 0.0, static_cast<double>(nominalMNTZOffset)});
  int const count = static_cast<int>(paths.size());
  // The run time of OpenMP ends the process when it can't start a thread.
  // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): it doesn't see the clause below
  int const threads = 1 + files::startableThreads(std::min(count, omp_get_max_threads()) - 1);
#pragma omp parallel for schedule(static) num_threads(threads)
  for (int i = 0; i < count; ++i) {
    try {
      auto geometry = std::make_unique<CalibrationGeometryKes>();
      auto radiometry = std::make_unique<CalibrationRadiometryKesV1>();
      readCam(paths[static_cast<std::size_t>(i)], geometry.get(), radiometry.get());
      completeSpectralValues(*radiometry, centers, widths);
#pragma omp critical(kessensorCameraBand)
      enterBand(*camera, std::move(geometry), std::move(radiometry));
    } catch (std::exception const&) {
      // The camera has no such band then.
      continue;
    }
  }
}

void SerializerCameraKesV1Cam::readRadiocal(std::string const& fileName, ValuesByBand& centers,
                                            ValuesByBand& widths) const {
  InputFile file(fileName);
  if (!file.isOpen()) {
    return;
  }
  QDomDocument document;
  QString error;
  if (!readXml(file, document, error)) {
    std::cerr << "Error parsing xml file:" << fileName << ": " << error.toStdString() << '\n';
    return;
  }
  QDomElement const root = document.documentElement();
  if (root.tagName() != QLatin1String(radiocal::root)) {
    std::cerr << "Wrong file format: expected \"radiometric_calibration\" but saw \"" << root.tagName().toStdString()
              << '"';
    return;
  }
  QString const version = root.attribute(QLatin1String(radiocal::version));
  if (version != QLatin1String(radiocal::readVersion)) {
    std::cerr << "Wrong file version: expected \"1\" but saw \"" << version.toStdString() << '"';
    return;
  }
  for (QDomElement e = root.firstChildElement(QLatin1String(radiocal::band)); !e.isNull();
       e = e.nextSiblingElement(QLatin1String(radiocal::band))) {
    addBand(e, centers, widths);
  }
}

}  // namespace sensor
