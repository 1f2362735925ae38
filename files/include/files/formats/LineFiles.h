// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

// The records of the files that have something to say of the lines of an image. All numbers are little-endian.

namespace sensor::lineFile {

/// Line times (CTG): a double for each line, GPS seconds.
inline constexpr std::int64_t timeSize = 8;

/// Changes of the line rate (CTGL): double time, int32 cycle time in microseconds, uint32 line.
namespace rateChange {
inline constexpr std::int64_t time = 0;
inline constexpr std::int64_t cycleTime = 8;
inline constexpr std::int64_t line = 12;
inline constexpr std::int64_t size = 16;
}  // namespace rateChange

/// A table of values that hold from a line on: uint32 line, then the value, an uint32 of microseconds (integration
/// times) or an uint8 of stages (TDI).
inline constexpr std::int64_t lineSize = 4;
inline constexpr std::int64_t integrationTimeSize = lineSize + 4;
inline constexpr std::int64_t tdiStageSize = lineSize + 1;

}  // namespace sensor::lineFile
