// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// The shortest text that reads back to the same number, whatever the locale.
std::string text(double value);
std::string text(float value);

/// The number that is the whole of `field`, blanks around it aside; nothing when it isn't one. "nan" and "inf" are none:
/// no position is made of them.
std::optional<double> finiteNumber(std::string_view field);

}  // namespace tool
