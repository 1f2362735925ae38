// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

/// The GPS week, counted from 1980-01-06, in which a time in seconds since 1970 lies; nothing before the first one.
std::optional<std::uint32_t> gpsWeekOf(std::uint32_t secondsSince1970);

/// The day, "2026-11-22", of so many seconds after the beginning of a GPS week, in GPS time.
std::string dayOf(std::uint32_t gpsWeek, double seconds);

}  // namespace tool
