// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrientationTable.h"

#include <sensor/EOPData.h>

#include <limits>

namespace kes::detail {

namespace {

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();

Quaternion attitudeOf(sensor::EOP const& record) {
  return {static_cast<double>(record.q0), static_cast<double>(record.q1), static_cast<double>(record.q2),
          static_cast<double>(record.q3)};
}

geo::XYZPoint difference(sensor::EOP const& to, sensor::EOP const& from) {
  return {to.x - from.x, to.y - from.y, to.z - from.z};
}

sensor::EOP sinceEpoch(sensor::EOPData const& data, int i, double epoch) {
  sensor::EOP record;
  data.atIndex(i, record);
  record.gpsTime -= epoch;
  return record;
}

OrientationTable::Interval between(sensor::EOP const& a, sensor::EOP const& b) {
  Quaternion const from = attitudeOf(a);
  Quaternion const to = attitudeOf(b);
  return {a.gpsTime,
          1.0 / (b.gpsTime - a.gpsTime),
          {a.x, a.y, a.z},
          difference(b, a),
          from,
          {to.q0 - from.q0, to.q1 - from.q1, to.q2 - from.q2, to.q3 - from.q3}};
}

// Beyond the end record, at the rate from one record to another, which takes the time of a whole period.
OrientationTable::Interval beyond(sensor::EOP const& end, geo::XYZPoint const& step, double frequency) {
  return {end.gpsTime, frequency, {end.x, end.y, end.z}, step, attitudeOf(end), {0.0, 0.0, 0.0, 0.0}};
}

}  // namespace

std::vector<int> ascendingRecords(sensor::EOPData const& data, double epoch) {
  std::vector<int> records;
  double latest = -std::numeric_limits<double>::infinity();
  sensor::EOP record;
  for (int i = 0; data.atIndex(i, record) == 0; ++i) {
    double const time = record.gpsTime - epoch;
    if (records.empty() || time >= latest) {
      records.push_back(i);
      latest = time;
    }
  }
  return records;
}

OrientationTable::OrientationTable(sensor::EOPData const& data, double epoch) : mFirst(NAN_VALUE), mLast(NAN_VALUE) {
  std::vector<sensor::EOP> records;
  for (int const i : ascendingRecords(data, epoch)) {
    records.push_back(sinceEpoch(data, i, epoch));
  }
  std::size_t const n = records.size();
  if (n < 2) {
    return;
  }
  mFirst = records.front().gpsTime;
  mLast = records.back().gpsTime;
  mIntervals.reserve(n + 1);
  mIntervals.push_back(beyond(records.front(), difference(records[1], records[0]), data.frequency()));
  for (std::size_t i = 1; i < n; ++i) {
    mIntervals.push_back(between(records[i - 1], records[i]));
  }
  mIntervals.push_back(beyond(records.back(), difference(records[n - 1], records[n - 2]), data.frequency()));
}

double OrientationTable::end(std::size_t i) const {
  return i + 1 < mIntervals.size() ? mIntervals[i + 1].start : std::numeric_limits<double>::infinity();
}

std::size_t OrientationTable::find(double time, std::size_t hint) const {
  std::size_t i = hint;
  while (i + 1 < mIntervals.size() && time >= mIntervals[i + 1].start) {
    ++i;
  }
  while (i > 0 && time < mIntervals[i].start) {
    --i;
  }
  return i;
}

}  // namespace kes::detail
