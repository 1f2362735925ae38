#pragma once

#include <sensor/CalibrationDate.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/kessensor_export.h>

namespace sensor {

/// The radiometric values that the calibrations of all these cameras have.
class KESSENSOR_EXPORT CalibrationRadiometryKes : public CalibrationRadiometry {
public:
  CalibrationRadiometryKes();
  ~CalibrationRadiometryKes() override;
  CalibrationRadiometryKes(CalibrationRadiometryKes const&) = default;
  CalibrationRadiometryKes& operator=(CalibrationRadiometryKes const&) = default;

  void setCalibDateTime(QDateTime const& dateTime) override;
  QDateTime const& calibDateTime() const override;

  /// From digital numbers to radiance.
  virtual float radiometricGain() const = 0;
  /// Metres; 0 when not known.
  virtual float centerWavelength() const = 0;
  /// Metres; 0 when not known.
  virtual float bandWidth() const = 0;

private:
  CalibrationDate mCalibDate;
};

}  // namespace sensor
