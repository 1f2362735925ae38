// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <files/Angles.h>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// In a radian.
constexpr double degrees = files::degreesPerRadian;

/// The shortest text that reads back to the same number, whatever the locale.
std::string text(double value);
std::string text(float value);

/// The number that is the whole of `field`, blanks around it aside; nothing when it isn't one. "nan" and "inf" aren't
/// numbers.
std::optional<double> finiteNumber(std::string_view field);

/// The same for a value that a table may lack: NaN for a blank field, "nan" and "inf".
std::optional<double> numberOrNan(std::string_view field);

}  // namespace tool
