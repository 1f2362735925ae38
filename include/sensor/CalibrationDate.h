// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <memory>

class QDateTime;

namespace sensor {

/// The time of a calibration: a value that keeps Qt's header out of ours. Copies are deep.
class KESSENSOR_EXPORT CalibrationDate {
public:
  /// A null time.
  CalibrationDate();
  ~CalibrationDate();
  CalibrationDate(CalibrationDate const& other);
  CalibrationDate& operator=(CalibrationDate const& other);

  /// Takes a copy of the time.
  void set(QDateTime const& dateTime);
  /// The time that was set, or a null one. The reference lives as long as this object.
  QDateTime const& get() const;

private:
  std::unique_ptr<QDateTime> mDateTime;
};

}  // namespace sensor
