// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockProblem.h"

#include <vector>

namespace kesadjust {

/// The adjusted orientation of a strip at the times of its records.
///
/// With the corrections dC, theta of the spline, shift s, boresight b, lever arm a and time offset e, the camera of the
/// adjusted model is at R' = R(t + e) Exp(theta) Exp(b) and C' = C(t + e) + dC + s + R' a.
std::vector<AdjustedRecord> adjustedOrientation(BlockProblem const& problem, StripPart const& strip,
                                                Covariances const& covariances);

}  // namespace kesadjust
