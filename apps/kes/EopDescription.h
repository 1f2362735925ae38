#pragma once

#include "Output.h"

namespace sensor {
class EOPData;
}

namespace kes {

/// What a loaded orientation is, without its file: `version`, `records`, `start` and `end` (seconds), `frequency` (hertz),
/// `anchor.{longitude,latitude,height}` (degrees, metres).
Json describe(sensor::EOPData const& eop);

}  // namespace kes
