// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace sensor {
class KESStripModel;
}

namespace tool {

/// Prints the first thing that a strip names and hasn't got or, after loading it, a warning for each that is legal but
/// suspicious. `place` stands before each line. Gives whether the strip is valid. Throws what `loadData` throws.
bool checkStrip(sensor::KESStripModel& strip, bool images, std::string const& place = {});

}  // namespace tool
