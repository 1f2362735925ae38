// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"

#include <xmlFileData/GeoMisalignment.h>

namespace xmlFileData {

bool GeoMisalignment::operator==(GeoMisalignment const& other) const {
  constexpr int decimals = 5;
  return sameDecimals(Omega, other.Omega, decimals) && sameDecimals(SigmaOmega, other.SigmaOmega, decimals) &&
         sameDecimals(Phi, other.Phi, decimals) && sameDecimals(SigmaPhi, other.SigmaPhi, decimals) &&
         sameDecimals(Kappa, other.Kappa, decimals) && sameDecimals(SigmaKappa, other.SigmaKappa, decimals);
}

}  // namespace xmlFileData
