// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockProblem.h"

#include <vector>

namespace kesadjust {

/// Puts an adjustment's solution in the words of the block: all but the warnings and objections that are there.
void describe(BlockProblem const& problem, BlockResult& result);

/// Adds warnings, and why the result must not be used.
void judge(BlockProblem const& problem, BlockResult& result);

/// The cameras whose focal length or sensor lines are unknowns.
std::vector<CameraCorrections> cameraCorrections(BlockProblem const& problem);

}  // namespace kesadjust
