// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationDate.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/kessensor_export.h>

namespace sensor {

/// The radiometric values that the calibrations of all these cameras have, and the time of the calibration.
class KESSENSOR_EXPORT CalibrationRadiometryKes : public CalibrationRadiometry {
public:
  CalibrationRadiometryKes();
  ~CalibrationRadiometryKes() override;
  CalibrationRadiometryKes(CalibrationRadiometryKes const&) = default;
  CalibrationRadiometryKes& operator=(CalibrationRadiometryKes const&) = default;

  void setCalibDateTime(QDateTime const& dateTime) override;
  QDateTime const& calibDateTime() const override;

  /// From digital numbers to radiance; 1 until set.
  virtual float radiometricGain() const = 0;
  /// Middle of the band's spectrum, metres; 0 when not known.
  virtual float centerWavelength() const = 0;
  /// Width of the band's spectrum, metres; 0 when not known.
  virtual float bandWidth() const = 0;

private:
  CalibrationDate mCalibDate;
};

}  // namespace sensor
