// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/KesBQuickInfo.h>

#include <optional>
#include <string>

namespace sensor {

/// Misalignment and creation of the geometry file of a calibration folder. What follows both in the file has no effect.
/// Returns nothing when one of the two is missing, or stands after a place where the file isn't well formed or could
/// exhaust the memory. Throws what `KesCalibrationInterface::findFile` throws, and std::runtime_error "XML reader: ..."
/// for a file that can't be read or has no element.
std::optional<KesBQuickInfo> quickLook(std::string const& folder);

}  // namespace sensor
