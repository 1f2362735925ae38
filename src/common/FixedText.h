// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace sensor {

/// Adds `value` to `text` in fixed notation with `decimals` decimals (30 at most), as a formatted output stream of the
/// C locale prints it, regardless of the host's locale: the exact value of the double decides the rounding, a tie goes
/// to the even digit, and a zero keeps its sign. `QString::number` differs in both of the latter. A NaN is "nan", whatever
/// its sign.
void appendFixed(std::string& text, double value, int decimals);

/// `value` alone as `appendFixed` writes it.
std::string fixedText(double value, int decimals);

}  // namespace sensor
