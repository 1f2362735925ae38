// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <string>
#include <vector>

namespace sensor {

class CalibrationGeometry;
class CalibrationRadiometry;
class Misalignment;

/// One sensor head in one version of its calibration. Cameras come from `CameraFactory`, which owns them; everything
/// that a camera hands out stays its own.
class KESSENSOR_EXPORT Camera {
public:
  virtual ~Camera();

  /// Type of the camera, the first part of its folder's name.
  virtual std::string const& type() const = 0;
  /// Serial number or name of the sensor head.
  virtual std::string const& sensorId() const = 0;
  /// Version of the calibration.
  virtual unsigned int version() const = 0;
  /// The note of this version.
  virtual std::string const& versionInfo() const = 0;
  /// The folder that the calibration came from.
  virtual std::string const& calibrationFolder() const = 0;
  /// Appends the ids of all bands that have a geometry, in the order of their texts. The vector isn't cleared.
  virtual void bandIds(std::vector<std::string>& ids) const = 0;
  /// The geometry of a band; null when there is none.
  virtual CalibrationGeometry* calibrationGeometry(std::string const& bandId) const = 0;
  /// The radiometry of a band; null when there is none.
  virtual CalibrationRadiometry* calibrationRadiometry(std::string const& bandId) const = 0;
  /// The rotation between inertial unit and camera; null when there is none.
  virtual Misalignment const* misalignment() const = 0;

protected:
  Camera();
  Camera(Camera const&) = default;
  Camera& operator=(Camera const&) = default;
};

}  // namespace sensor
