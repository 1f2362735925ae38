// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTable.h"

#include <sensor/CameraTime.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/TdiStage.h>

#include <algorithm>
#include <limits>
#include <map>

namespace kes::detail {

namespace {

constexpr float NO_TDI = 1.0F;

}  // namespace

/// What the library knows of the lines, at whole lines.
class LineTable::Source {
public:
  explicit Source(sensor::KESImage const& image)
      : mImage(image), mTimes(image.cameraTime()->values()),
        mChanges(image.cameraTime()->getInternalCtglRepresentation()) {
    double const mean = image.cycleTime(0.0F).value();
    mFirstCycle = mChanges.empty() ? mean : mChanges.begin()->second.cycleTime;
    mLastCycle = mChanges.empty() ? mean : mChanges.rbegin()->second.cycleTime;
  }

  int lines() const { return static_cast<int>(mTimes.size()); }

  bool mayHaveTdi() const {
    sensor::TdiStage const* const tdi = mImage.tdiData();
    return tdi != nullptr && mImage.integrationTime() != nullptr && tdi->maximum() > NO_TDI;
  }

  // The first interval goes on backward over one line, then the first cycle time holds.
  double time(int line) const {
    int const last = lines() - 1;
    if (line >= 0 && line <= last) {
      return sinceEpoch(line);
    }
    if (line > last) {
      return sinceEpoch(last) + static_cast<double>(line - last) * mLastCycle;
    }
    double const firstInterval = last > 0 ? sinceEpoch(1) - sinceEpoch(0) : mFirstCycle;
    return -firstInterval + static_cast<double>(line + 1) * mFirstCycle;
  }

  float tdi(double line) const { return mImage.tdi(static_cast<float>(line)); }
  float integrationTime(int line) const { return mImage.integrationTime(static_cast<float>(line)); }

  // The exposure of a line has its centre half a cycle less half the integration time after the line's own time.
  double exposureTime(int line) const {
    double const i = static_cast<double>(integrationTime(line)) * 0.5;
    double const c = mImage.cycleTime(static_cast<float>(line)).value() * 0.5;
    return time(line) + c - i;
  }

  // At a uniform rate the mean rate alone decides, otherwise the table.
  double lineAt(double time) const {
    int const last = lines() - 1;
    if (mChanges.empty() || last < 1 || time < 0.0) {
      return time / mFirstCycle;
    }
    if (time >= sinceEpoch(last)) {
      return last + (time - sinceEpoch(last)) / mLastCycle;
    }
    auto const next = std::upper_bound(mTimes.begin() + 1, mTimes.end() - 1, time + mTimes[0]);
    auto const k = static_cast<int>(next - mTimes.begin()) - 1;
    return k + (time - sinceEpoch(k)) / (sinceEpoch(k + 1) - sinceEpoch(k));
  }

private:
  double sinceEpoch(int line) const { return mTimes[static_cast<std::size_t>(line)] - mTimes[0]; }

  sensor::KESImage const& mImage;
  std::vector<double> const& mTimes;
  std::map<double, sensor::CtglEntry> const mChanges;
  double mFirstCycle;
  double mLastCycle;
};

double LineTable::epochOf(sensor::KESImage const& image) {
  std::vector<double> const& times = image.cameraTime()->values();
  return times.empty() ? std::numeric_limits<double>::quiet_NaN() : times.front();
}

LineTable::LineTable(sensor::KESImage const& image, OrientationTable const& orientation,
                     std::optional<float> tdiStages) {
  Source const source(image);
  if (source.lines() == 0 || orientation.isEmpty()) {
    return;
  }
  for (int line = -margin; line < source.lines() + margin; ++line) {
    mPlainTimes.push_back(source.time(line));
  }
  for (std::size_t i = 0; i + 1 < mPlainTimes.size(); ++i) {
    mIntervals.push_back({mPlainTimes[i], mPlainTimes[i + 1] - mPlainTimes[i]});
  }
  if (tdiStages) {
    mCorrections.assign(mIntervals.size(), {correctionOf(static_cast<double>(*tdiStages)), 0.0});
  } else if (source.mayHaveTdi()) {
    addCorrections(source);
  }
  std::size_t record = 0;
  for (Interval const& interval : mIntervals) {
    record = orientation.find(interval.time, record);
    mRecords.push_back(static_cast<std::uint32_t>(record));
  }
}

void LineTable::addCorrections(Source const& source) {
  auto const set = [&](std::size_t i, int line, bool firstHasTdi, bool lastHasTdi) {
    double const t0 = firstHasTdi ? source.exposureTime(line) : source.time(line);
    double const t1 = lastHasTdi ? source.exposureTime(line + 1) : source.time(line + 1);
    double const c0 = firstHasTdi ? line - source.lineAt(t0) : 0.0;
    double const c1 = lastHasTdi ? line + 1 - source.lineAt(t1) : 0.0;
    mIntervals[i] = {t0, t1 - t0};
    mCorrections[i] = {c0, c1 - c0};
  };
  mCorrections.assign(mIntervals.size(), {0.0, 0.0});
  for (std::size_t i = 0; i < mIntervals.size(); ++i) {
    int const line = static_cast<int>(i) - margin;
    float const between = source.tdi(line + 0.5);
    if (between == NO_TDI) {
      continue;
    }
    if (source.integrationTime(line) == source.integrationTime(line + 1)) {
      set(i, line, between > NO_TDI, between > NO_TDI);
    } else {
      set(i, line, source.tdi(line) > NO_TDI, source.tdi(line + 1) > NO_TDI);
    }
  }
}

double LineTable::plainTime(double line) const {
  std::size_t const i = intervalOf(line);
  return mPlainTimes[i] + (mPlainTimes[i + 1] - mPlainTimes[i]) * (line - lineOf(i));
}

}  // namespace kes::detail
