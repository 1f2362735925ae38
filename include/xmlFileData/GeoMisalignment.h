// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

namespace xmlFileData {

/// How the sensor head is turned against the inertial unit, with standard deviations; degrees.
struct KESSENSOR_EXPORT GeoMisalignment {
  double Omega = 0.0;
  double SigmaOmega = 0.0;
  double Phi = 0.0;
  double SigmaPhi = 0.0;
  double Kappa = 0.0;
  double SigmaKappa = 0.0;

  /// Whether all six values agree to five decimals, as they stand in a file.
  bool operator==(GeoMisalignment const& other) const;
  bool operator!=(GeoMisalignment const& other) const { return !(*this == other); }
};

}  // namespace xmlFileData
