// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/Rotation.h>

#include <cmath>

namespace sensor {

Rotation::Rotation() {}  // NOLINT(modernize-use-equals-default): the elements stay without a value

void Rotation::set(double omega, double phi, double kappa) {
  double const so = std::sin(omega);
  double const co = std::cos(omega);
  double const sp = std::sin(phi);
  double const cp = std::cos(phi);
  double const sk = std::sin(kappa);
  double const ck = std::cos(kappa);
  mElements = {cp * ck,
               sp * so * ck + sk * co,
               sk * so - sp * co * ck,  //
               -sk * cp,
               ck * co - sp * so * sk,
               sp * co * sk + so * ck,  //
               sp,
               -so * cp,
               cp * co};
}

}  // namespace sensor
