// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace sensor {

/// One record of exterior orientation: where the camera was at an epoch, and how it was turned. Positions are in the
/// local space rectangular system of the strip, metres; the attitude is a unit quaternion, scalar first, in single
/// precision.
struct EOP {
  double gpsTime = 0.0;  ///< Epoch, seconds.
  float status = 0.0F;   ///< Carried through files unchanged; -1 on a record that was extrapolated.
  float q0 = 0.0F;
  float q1 = 0.0F;
  float q2 = 0.0F;
  float q3 = 0.0F;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

}  // namespace sensor
