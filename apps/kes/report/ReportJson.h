// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"
#include "shared/Output.h"

namespace tool {

/// Angles in degrees, those of the jitter in radians; times in seconds, lengths in metres, positions on the map in its
/// unit.
Json toJson(Report const& report);

}  // namespace tool
