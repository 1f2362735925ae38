// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OpenStrip.h"

#include <kes/Camera.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/Camera.h>

#include <algorithm>
#include <stdexcept>

namespace kes {

namespace {

CameraBand bandOf(sensor::Camera const& camera, std::string const& id) {
  sensor::CalibrationGeometry const* const geometry = camera.calibrationGeometry(id);
  auto const* const line = dynamic_cast<sensor::CalibrationGeometryKes const*>(geometry);
  auto const samples = static_cast<int>(geometry->numSamples());
  return {id,
          samples,
          line != nullptr ? static_cast<int>(line->numImagingSamples()) : samples,
          static_cast<double>(geometry->focalLength()),
          static_cast<double>(geometry->pixelSize()),
          line != nullptr ? static_cast<double>(line->lookAngle()) : 0.0,
          line != nullptr && line->isReverse()};
}

}  // namespace

std::string const& Camera::type() const {
  return mCamera->type();
}

std::string const& Camera::sensorId() const {
  return mCamera->sensorId();
}

unsigned Camera::version() const {
  return mCamera->version();
}

std::string const& Camera::versionInfo() const {
  return mCamera->versionInfo();
}

std::string const& Camera::folder() const {
  return mCamera->calibrationFolder();
}

std::vector<std::string> Camera::bandIds() const {
  std::vector<std::string> ids;
  mCamera->bandIds(ids);
  return ids;
}

std::vector<CameraBand> Camera::bands() const {
  std::vector<CameraBand> bands;
  for (std::string const& id : bandIds()) {
    bands.push_back(bandOf(*mCamera, id));
  }
  return bands;
}

CameraBand Camera::band(std::string_view id) const {
  std::vector<std::string> const ids = bandIds();
  if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
    throw std::out_of_range("camera \"" + sensorId() + "\" has no band \"" + std::string(id) + "\"; it has " +
                            detail::listed(ids));
  }
  return bandOf(*mCamera, std::string(id));
}

}  // namespace kes
