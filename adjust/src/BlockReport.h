// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockProblem.h"

namespace kesadjust {

/// Puts an adjustment's solution in the words of the block: all but the warnings and objections that are there.
void describe(BlockProblem const& problem, BlockResult& result);

/// Adds warnings, and why the result must not be used.
void judge(BlockProblem const& problem, BlockResult& result);

}  // namespace kesadjust
