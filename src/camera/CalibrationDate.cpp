// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationDate.h>

#include <QDateTime>

namespace sensor {

CalibrationDate::CalibrationDate() : mDateTime(std::make_unique<QDateTime>()) {}

CalibrationDate::~CalibrationDate() = default;

CalibrationDate::CalibrationDate(CalibrationDate const& other)
    : mDateTime(std::make_unique<QDateTime>(*other.mDateTime)) {}

CalibrationDate& CalibrationDate::operator=(CalibrationDate const& other) {
  *mDateTime = *other.mDateTime;
  return *this;
}

void CalibrationDate::set(QDateTime const& dateTime) {
  *mDateTime = dateTime;
}

QDateTime const& CalibrationDate::get() const {
  return *mDateTime;
}

}  // namespace sensor
