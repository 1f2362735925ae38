// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationInfo.h>
#include <sensor/kessensor_export.h>

namespace sensor {

/// The radiometry of one band. The library stores it for its callers, and applies none of it itself.
class KESSENSOR_EXPORT CalibrationRadiometry : public CalibrationInfo {
public:
  CalibrationRadiometry();
  ~CalibrationRadiometry() override;
  CalibrationRadiometry(CalibrationRadiometry const&) = default;
  CalibrationRadiometry& operator=(CalibrationRadiometry const&) = default;
};

}  // namespace sensor
