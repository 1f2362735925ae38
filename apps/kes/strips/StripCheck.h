// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace kes {
class Strip;
}

namespace tool {

/// Prints the first thing that a strip names and lacks or, after loading it, a warning for each that is legal but
/// suspicious. `place` stands before each line. Returns whether the strip is valid. Throws what `kes::Strip::load`
/// throws.
bool checkStrip(kes::Strip& strip, bool images, std::string const& place = {});

}  // namespace tool
