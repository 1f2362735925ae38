// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationGeometry.h>

namespace sensor {

CalibrationGeometry::CalibrationGeometry() = default;

CalibrationGeometry::~CalibrationGeometry() = default;

}  // namespace sensor
