// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <span>

namespace kes {
class Strip;
}

namespace tool {

/// Lowest, mean and highest of the values that are finite.
ValueRange rangeOf(std::span<double const> values);

/// The course of values at times, in so many parts at most.
Quantity quantityOf(std::span<double const> times, std::span<double const> values, int parts);

/// The orientation that a strip uses.
TrajectoryReport trajectoryReportOf(kes::Strip const& strip, int parts);

}  // namespace tool
