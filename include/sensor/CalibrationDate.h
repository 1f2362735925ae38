#pragma once

#include <sensor/kessensor_export.h>

#include <memory>

class QDateTime;

namespace sensor {

/// The time of a calibration: a value that keeps Qt's header out of ours. Null until set.
class KESSENSOR_EXPORT CalibrationDate {
public:
  CalibrationDate();
  ~CalibrationDate();
  CalibrationDate(CalibrationDate const& other);
  CalibrationDate& operator=(CalibrationDate const& other);

  void set(QDateTime const& dateTime);
  QDateTime const& get() const;

private:
  std::unique_ptr<QDateTime> mDateTime;
};

}  // namespace sensor
