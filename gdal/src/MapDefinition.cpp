// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MapDefinition.h"

#include "GdalErrors.h"

#include <cpl_conv.h>

#include <stdexcept>
#include <string>

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

kes::CoordinateSystem systemOf(OGRSpatialReference const& reference) {
  GdalErrors const errors;
  constexpr char const* options[] = {"FORMAT=WKT2_2019", nullptr};
  char* text = nullptr;
  OGRErr const result = reference.exportToWkt(&text, options);
  std::string const definition = text == nullptr ? "" : text;
  CPLFree(text);
  if (result != OGRERR_NONE) {
    throw std::runtime_error("its coordinate system can't be written: " + errors.first());
  }
  return kes::CoordinateSystem(definition);
}

}  // namespace kesgdal
