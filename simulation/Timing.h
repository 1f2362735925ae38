// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// A run of lines with one cycle time.
struct RateChange {
  std::uint32_t line;
  std::uint32_t cycleMicroseconds;
};

/// One record of a scanline file.
struct ScanlineRecord {
  std::uint32_t line;
  std::uint32_t value;
};

/// The times of `lines` lines from `start` (seconds) on, at the rates of the changes, of which the first is at line 0.
std::vector<double> lineTimes(double start, int lines, std::vector<RateChange> const& changes);

/// Writes a CTG file and, for more than one rate, the CTGL file beside it.
void writeLineTimes(std::string const& ctgFileName, std::vector<double> const& times,
                    std::vector<RateChange> const& changes);
/// Writes integration times (microseconds).
void writeIntegrationTimes(std::string const& fileName, std::vector<ScanlineRecord> const& records);
/// Writes TDI stages.
void writeTdiStages(std::string const& fileName, std::vector<ScanlineRecord> const& records);

}  // namespace simulation
