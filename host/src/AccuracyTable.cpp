// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AccuracyTable.h"

#include "OrientationTable.h"

#include <sensor/EOPData.h>
#include <sensor/TimeQuantity.h>

#include <algorithm>

namespace kes::detail {

namespace {

/// What an operation of the orientation stores in six floats.
template <class Read>
Deviations deviationsBy(Read const& read) {
  std::array<float, 6> d{};
  read(d[0], d[1], d[2], d[3], d[4], d[5]);
  Deviations deviations;
  std::copy(d.begin(), d.end(), deviations.begin());
  return deviations;
}

// Where records have their own, the default ones aren't used.
Deviations defaultOf(sensor::EOPData const& data) {
  return deviationsBy([&](auto&... out) { data.stdDevAtGPS(sensor::seconds(0.0), out...); });
}

Deviations ofRecord(sensor::EOPData const& data, int i) {
  return deviationsBy([&](auto&... out) { data.stdDevAtIndex(i, out...); });
}

}  // namespace

AccuracyTable::AccuracyTable(sensor::EOPData const& data, double epoch) : mDefault(defaultOf(data)) {
  std::vector<int> const records = ascendingRecords(data, epoch);
  if (records.size() < 2 || !data.hasStdDevs()) {
    return;
  }
  mIntervals.reserve(records.size() + 1);
  Deviations last = ofRecord(data, records.front());
  mIntervals.push_back({last, {}});
  for (std::size_t i = 1; i < records.size(); ++i) {
    Deviations const next = ofRecord(data, records[i]);
    Deviations step{};
    for (std::size_t k = 0; k < step.size(); ++k) {
      step[k] = next[k] - last[k];
    }
    mIntervals.push_back({last, step});
    last = next;
  }
  mIntervals.push_back({last, {}});
}

}  // namespace kes::detail
