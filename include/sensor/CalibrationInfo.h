// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <string>

class QDateTime;

namespace sensor {

/// The identity of a calibration record: of which sensor and band it is, and where it came from. The base of geometries
/// and radiometries.
///
/// What the getters refer to lives in the record. A record is filled once; then any number of threads may read it.
class KESSENSOR_EXPORT CalibrationInfo {
public:
  /// Source, sensor and band "Unknown", no file.
  CalibrationInfo();
  virtual ~CalibrationInfo();
  CalibrationInfo(CalibrationInfo const&) = default;
  CalibrationInfo& operator=(CalibrationInfo const&) = default;

  /// Sensor that the record belongs to.
  virtual void setSensorId(std::string const& sensorId);
  /// Band of the record. A camera enters the record under the id that it has at that moment.
  virtual void setBandId(std::string const& bandId);
  /// Where the calibration came from, a text for people.
  virtual void setCalibSource(std::string const& source);
  /// Time of the calibration; the record keeps a copy.
  virtual void setCalibDateTime(QDateTime const& dateTime) = 0;
  /// File that the record was read from.
  virtual void setFileName(std::string const& fileName);

  /// Sensor that the record belongs to; "Unknown" until set.
  virtual std::string const& sensorId() const;
  /// Band, the key by which a camera finds the record; "Unknown" until set.
  virtual std::string const& bandId() const;
  /// Where the calibration came from; "Unknown" until set.
  virtual std::string const& calibSource() const;
  /// Time of the calibration; a null time until set.
  virtual QDateTime const& calibDateTime() const = 0;
  /// File that the record was read from; empty when it was read from none.
  virtual std::string const& fileName() const;

private:
  std::string mCalibSource;
  std::string mSensorId;
  std::string mBandId;
  std::string mFileName;
};

}  // namespace sensor
