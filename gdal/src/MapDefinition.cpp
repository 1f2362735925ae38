// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MapDefinition.h"

#include "GdalErrors.h"

namespace kesgdal {

OGRSpatialReference spatialReferenceOf(kes::CoordinateSystem const& system) {
  GdalErrors const quiet;
  OGRSpatialReference reference;
  if (reference.SetFromUserInput(system.definition().c_str(),
                                 OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get()) != OGRERR_NONE) {
    reference.Clear();
  }
  reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return reference;
}

}  // namespace kesgdal
