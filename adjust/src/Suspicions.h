// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockProblem.h"

#include <optional>
#include <span>
#include <string>

namespace kesadjust {

/// Throws std::runtime_error "ground points lie N km from where their lines of sight meet, but within N m with x and y
/// exchanged: are their columns swapped?"
void requireOwnAxes(BlockProblem const& problem, std::span<GroundMeasurement const> given);

/// A doubt about what the heights of the ground points count from, when all depart alike from where their lines of
/// sight meet, by more than the navigation explains.
std::optional<std::string> doubtAboutHeights(BlockProblem const& problem);

}  // namespace kesadjust
