// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

#include <string>

namespace tool {

/// No line of these cameras looks farther ahead or back, degrees.
inline constexpr double steepestLook = 60.0;

/// Checks a CAM file; returns the id of its band.
std::string checkCam(FileFindings findings);

/// Checks the six numbers of a misalignment.
void checkMisalignment(FileFindings findings);

}  // namespace tool
