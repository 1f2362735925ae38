// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>

#include <ogr_spatialref.h>

namespace kesgdal {

/// The system as GDAL has it, with x east and y north, whatever order the definition has; empty when GDAL can't.
OGRSpatialReference spatialReferenceOf(kes::CoordinateSystem const& system);

/// The system that GDAL has, likewise. Throws std::runtime_error with the reason.
kes::CoordinateSystem systemOf(OGRSpatialReference const& reference);

}  // namespace kesgdal
