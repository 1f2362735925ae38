#pragma once

#include <sensor/KesBQuickInfo.h>

#include <optional>
#include <string>

namespace sensor {

/// Misalignment and creation of the geometry file of a calibration folder, without reading the rest of it. None when the
/// file can't be opened, or one of the two isn't in it. Throws what `KesCalibrationInterface::findFile` throws.
std::optional<KesBQuickInfo> quickLook(std::string const& folder);

}  // namespace sensor
