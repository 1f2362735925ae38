// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Bytes.h"
#include "support/TempFolder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

inline std::string ctgBytes(std::vector<double> const& times) {
  Bytes bytes;
  for (double const time : times) {
    bytes << time;
  }
  return bytes.str();
}

/// One record of a CTGL file.
struct RateRecord {
  double time;
  std::int32_t microseconds;
  std::uint32_t line;
};

inline std::string ctglBytes(std::vector<RateRecord> const& records) {
  Bytes bytes;
  for (RateRecord const& record : records) {
    bytes << record.time << record.microseconds << record.line;
  }
  return bytes.str();
}

/// Lines 0 to 4 a quarter of a second apart from 100 s on, lines 5 to 8 half a second: the rate changes at line 4.
inline std::vector<double> const changingTimes{100.0, 100.25, 100.5, 100.75, 101.0, 101.5, 102.0, 102.5, 103.0};
inline std::vector<RateRecord> const changingRates{{100.0, 250000, 0}, {101.0, 500000, 4}};

}  // namespace test
