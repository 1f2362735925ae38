#pragma once

#include <ogr_spatialref.h>

#include <string>

namespace geo {
class coordSys;
}

namespace kesgdal {

/// The definition of a coordinate system, from which one equal to it can be made.
std::string definitionOf(geo::coordSys const& system);

/// The system as GDAL has it, with x east and y north, whatever order the definition has; empty when GDAL can't.
OGRSpatialReference spatialReferenceOf(geo::coordSys const& system);

}  // namespace kesgdal
