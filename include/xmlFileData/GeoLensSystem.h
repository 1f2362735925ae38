// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

namespace xmlFileData {

/// The lens of the sensor head; millimetres.
struct KESSENSOR_EXPORT GeoLensSystem {
  double principalDistance = 0.0;
  double sigmaPrincipalDistance = 0.0;

  /// Whether both values agree to four decimals, as they stand in a file.
  bool operator==(GeoLensSystem const& other) const;
  bool operator!=(GeoLensSystem const& other) const { return !(*this == other); }
};

}  // namespace xmlFileData
