// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace sensor {

/// One record of an orientation file (ODF), packed into integers: each quantity, less its base, times the scale of its
/// kind. `KESOrientation` has bases and scales. In memory it is what stands in a file, 40 bytes.
struct odf {
  std::int32_t t = 0;             ///< (time - base time) times the time scale.
  std::int32_t x = 0;             ///< (x - base x) times the position scale; so y and z.
  std::int32_t y = 0;             ///< See x.
  std::int32_t z = 0;             ///< See x.
  std::int32_t omega = 0;         ///< Radians times the angular scale; so phi and kappa.
  std::int32_t phi = 0;           ///< See omega.
  std::int32_t kappa = 0;         ///< See omega.
  std::uint16_t stdDevX = 0;      ///< Times the scale of the positions' standard deviations; so of y and z.
  std::uint16_t stdDevY = 0;      ///< See stdDevX.
  std::uint16_t stdDevZ = 0;      ///< See stdDevX.
  std::uint16_t stdDevOmega = 0;  ///< Times the scale of the angles' standard deviations; so of phi and kappa.
  std::uint16_t stdDevPhi = 0;    ///< See stdDevOmega.
  std::uint16_t stdDevKappa = 0;  ///< See stdDevOmega.
};

}  // namespace sensor
