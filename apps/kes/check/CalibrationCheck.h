// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

#include <string>

namespace tool {

/// Reads all files of one version of a camera's calibration and names what the library drops or reads as what its
/// author didn't mean.
void checkCalibration(std::string const& folder, Findings& findings);

}  // namespace tool
