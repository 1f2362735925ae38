// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace sensor {

/// One change of the line rate of an image.
struct CtglEntry {
  double time = 0.0;       ///< GPS time of the change, seconds.
  double cycleTime = 0.0;  ///< Line period from here on, seconds.
  std::uint32_t line = 0;  ///< Line number of the change.
};

}  // namespace sensor
