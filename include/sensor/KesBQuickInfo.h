// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace sensor {

/// What a quick look at the geometry file of a newer calibration finds.
struct KesBQuickInfo {
  double omega = 0.0;              ///< Misalignment, degrees.
  double phi = 0.0;                ///< Misalignment, degrees.
  double kappa = 0.0;              ///< Misalignment, degrees.
  std::string creationInfo;        ///< "Made in " + location + ", " + environment + " (" + remark + ")".
  std::uint32_t creationTime = 0;  ///< Seconds since 1970; the file's text taken as local time.
  std::string location;            ///< The calibration folder.
};

}  // namespace sensor
