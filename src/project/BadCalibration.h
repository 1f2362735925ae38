// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stdexcept>
#include <string>

namespace sensor {

/// What is thrown on an image whose band the camera has no geometric calibration for.
inline std::runtime_error badCalibration(std::string const& bandId) {
  return std::runtime_error("Bad calibration !\nNo calibration found for band Id:\n" + bandId);
}

}  // namespace sensor
