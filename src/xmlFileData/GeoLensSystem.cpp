// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"

#include <xmlFileData/GeoLensSystem.h>

namespace xmlFileData {

bool GeoLensSystem::operator==(GeoLensSystem const& other) const {
  constexpr int decimals = 4;
  return sameDecimals(principalDistance, other.principalDistance, decimals) &&
         sameDecimals(sigmaPrincipalDistance, other.sigmaPrincipalDistance, decimals);
}

}  // namespace xmlFileData
