// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AccuracyTable.h"

#include "OrientationTable.h"

#include <sensor/EOPData.h>
#include <sensor/TimeQuantity.h>

#include <algorithm>

namespace kes::detail {

namespace {

Deviations widened(std::array<float, 6> const& stored) {
  Deviations deviations;
  std::copy(stored.begin(), stored.end(), deviations.begin());
  return deviations;
}

// Where records have their own, the default ones aren't used.
Deviations defaultOf(sensor::EOPData const& data) {
  std::array<float, 6> d{};
  data.stdDevAtGPS(sensor::seconds(0.0), d[0], d[1], d[2], d[3], d[4], d[5]);
  return widened(d);
}

Deviations ofRecord(sensor::EOPData const& data, int i) {
  std::array<float, 6> d{};
  data.stdDevAtIndex(i, d[0], d[1], d[2], d[3], d[4], d[5]);
  return widened(d);
}

double timeOf(sensor::EOPData const& data, int i, double epoch) {
  sensor::EOP record;
  data.atIndex(i, record);
  return record.gpsTime - epoch;
}

}  // namespace

AccuracyTable::AccuracyTable(sensor::EOPData const& data, double epoch) : mConstant(defaultOf(data)) {
  std::vector<int> const records = ascendingRecords(data, epoch);
  if (records.size() < 2 || !data.hasStdDevs()) {
    return;
  }
  mIntervals.reserve(records.size() + 1);
  double start = timeOf(data, records.front(), epoch);
  Deviations last = ofRecord(data, records.front());
  mIntervals.push_back({start, 0.0, last, {}});
  for (std::size_t i = 1; i < records.size(); ++i) {
    double const end = timeOf(data, records[i], epoch);
    Deviations const next = ofRecord(data, records[i]);
    Deviations step{};
    for (std::size_t k = 0; k < step.size(); ++k) {
      step[k] = next[k] - last[k];
    }
    mIntervals.push_back({start, 1.0 / (end - start), last, step});
    start = end;
    last = next;
  }
  mIntervals.push_back({start, 0.0, last, {}});
  mRate = static_cast<double>(records.size() - 1) / (start - mIntervals.front().start);
}

}  // namespace kes::detail
