// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"
#include "timing/Attitude.h"

#include <sensor/EOPData.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace sensor {

namespace {

constexpr int found = 0;
constexpr int notFound = 1;
constexpr float extrapolated = -1.0F;

// A record at its very time. The attitude takes the way through its angles that it takes through a file.
void copyThroughAngles(EOP const& record, double t, EOP& out) {
  float omega = 0.0F;
  float phi = 0.0F;
  float kappa = 0.0F;
  quaternionToOpk(record, omega, phi, kappa);
  out = record;
  out.gpsTime = t;
  opkToQuaternion(static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa), out);
}

void interpolate(EOP const& a, EOP const& b, double t, EOP& out) {
  interpolateEOP(static_cast<float>((t - a.gpsTime) / (b.gpsTime - a.gpsTime)), a, b, out);
  out.gpsTime = t;
}

using StdDevs = std::array<float, 6>;

void copyStdDevs(StdDevs const& from, float& x, float& y, float& z, float& omega, float& phi, float& kappa) {
  x = from[0];
  y = from[1];
  z = from[2];
  omega = from[3];
  phi = from[4];
  kappa = from[5];
}

// The way from `a` to `b` is measured in single precision; of a pair of equal times the first counts.
float weightOfStdDevs(double a, double b, double t) {
  auto const way = static_cast<double>(static_cast<float>(t - a));
  return a == b ? 0.0F : static_cast<float>(way / (b - a));
}

StdDevs blend(StdDevs const& a, StdDevs const& b, float w) {
  StdDevs between{};
  for (std::size_t i = 0; i < between.size(); ++i) {
    between[i] = a[i] + (b[i] - a[i]) * w;
  }
  return between;
}

bool isBefore(EOP const& record, double t) {
  return record.gpsTime < t;
}

bool isAfter(double t, EOP const& record) {
  return t < record.gpsTime;
}

}  // namespace

void EOPData::Revision::renew() {
  static std::atomic<std::uint64_t> last{0};
  mNumber = ++last;
}

EOPData::EOPData(std::string const& fileName, bool const& loadData, bool const& loadStdDevs) {
  if (!fileName.empty()) {
    read(fileName, loadData, loadStdDevs);
  }
}

// The records stand at a constant rate, or nearly so: one multiplication finds the interval.
int EOPData::firstGuess(double t, int n) const {
  int const i = truncated<std::int32_t>(mFrequency * (t - mStartTime));
  return i >= n - 1 && mStartTime <= t && t <= mEndTime ? n - 2 : i;
}

// The interval to look at after `i`, which doesn't hold the time: one back or forward; or none where a time that isn't
// a number leaves no order to follow. Nothing bounds the steps from a guess at the rate of an odd first interval, so a
// long walk goes to its end at once.
[[gnu::noinline, gnu::cold]] int EOPData::nextInterval(int i, int n, double t) const {
  constexpr int longWalk = 32;
  constexpr int nowhere = -2;
  if (mAscending && std::abs(i - firstGuess(t, n)) >= longWalk) {
    return endOfWalk(i, t);
  }
  EOP const* const interval = mEops.data() + i;
  if (!(t > interval[0].gpsTime)) {
    return i - 1;
  }
  return t >= interval[1].gpsTime ? i + 1 : nowhere;
}

// Where the walk from the interval `i` ends when times never fall. Back, it meets the last record that isn't after the
// time first; forward, the first one that isn't before it. The two differ where records have the same time.
int EOPData::endOfWalk(int i, double t) const {
  auto const first = mEops.begin();
  auto const next = t > first[i].gpsTime ? std::lower_bound(first + i, mEops.end(), t, isBefore)
                                         : std::upper_bound(first, first + i, t, isAfter);
  return static_cast<int>(next - first) - 1;
}

int EOPData::atGPS(TimeQuantity<double> const& time, EOP& out) const {
  double const t = time.value();
  int const n = recordsInMemory();
  if (n < 2) {
    return notFound;
  }
  EOP const* const records = mEops.data();
  int i = firstGuess(t, n);
  while (i >= 0 && i < n - 1) {
    EOP const& a = records[i];
    EOP const& b = records[i + 1];
    if (a.gpsTime < t && t < b.gpsTime) {
      interpolate(a, b, t, out);
      return found;
    }
    if (t == b.gpsTime || t == a.gpsTime) {
      copyThroughAngles(t == b.gpsTime ? b : a, t, out);
      return found;
    }
    i = nextInterval(i, n, t);
  }
  if (t < mStartTime) {
    extrapolate(records[0], records[1], records[0], t - mStartTime, t, out);
    return found;
  }
  if (t > mEndTime) {
    extrapolate(records[n - 2], records[n - 1], records[n - 1], t - mEndTime, t, out);
    return found;
  }
  if (i == n - 1) {
    out = records[i];
    out.gpsTime = t;
    return found;
  }
  return notFound;
}

// `span` seconds from the record `end`, at the rate from one record to the other, which takes the time of a whole
// period.
void EOPData::extrapolate(EOP const& from, EOP const& to, EOP const& end, double span, double t, EOP& out) const {
  EOP const result{t,
                   extrapolated,
                   end.q0,
                   end.q1,
                   end.q2,
                   end.q3,
                   end.x + (to.x - from.x) * span * mFrequency,
                   end.y + (to.y - from.y) * span * mFrequency,
                   end.z + (to.z - from.z) * span * mFrequency};
  out = result;
}

int EOPData::atIndex(int i, EOP& out) const {
  if (!hasRecord(i)) {
    return notFound;
  }
  out = mEops[static_cast<std::size_t>(i)];
  return found;
}

int EOPData::stdDevAtGPS(TimeQuantity<double> const& time, float& x, float& y, float& z, float& omega, float& phi,
                         float& kappa) const {
  StdDevs deviations = mDefaultStdDevs;
  int const result = stdDevsAt(time.value(), deviations);
  if (result == found || !mLoadFailed) {
    copyStdDevs(deviations, x, y, z, omega, phi, kappa);
  }
  return result;
}

int EOPData::stdDevsAt(double t, StdDevs& out) const {
  int const n = recordsInMemory();
  if (n == 0 || mStdDevs.size() < static_cast<std::size_t>(n)) {
    return notFound;
  }
  int i = firstGuess(t, n);
  while (i >= 0 && i < n - 1) {
    auto const k = static_cast<std::size_t>(i);
    EOP const& a = mEops[k];
    EOP const& b = mEops[k + 1];
    if (a.gpsTime <= t && t <= b.gpsTime) {
      out = blend(mStdDevs[k], mStdDevs[k + 1], weightOfStdDevs(a.gpsTime, b.gpsTime, t));
      return found;
    }
    i = nextInterval(i, n, t);
  }
  if (t < mStartTime) {
    out = mStdDevs.front();
    return found;
  }
  if (t > mEndTime || i == n - 1) {
    out = mStdDevs.back();
    return found;
  }
  return notFound;
}

int EOPData::stdDevAtIndex(int i, float& x, float& y, float& z, float& omega, float& phi, float& kappa) const {
  copyStdDevs(mStdDevs[static_cast<std::size_t>(i)], x, y, z, omega, phi, kappa);
  return found;
}

void EOPData::heightRange(float& min, float& max) const {
  min = 0.0F;
  max = 0.0F;
  if (mEops.empty()) {
    return;
  }
  min = static_cast<float>(mEops.front().z);
  max = min;
  for (EOP const& record : mEops) {
    if (record.z < static_cast<double>(min)) {
      min = static_cast<float>(record.z);
    }
    if (record.z > static_cast<double>(max)) {
      max = static_cast<float>(record.z);
    }
  }
}

bool EOPData::hasRecord(int i) const {
  return i >= 0 && i < recordsInMemory();
}

// Whether the times from the first to the last of these records, as far as there are such, are numbers that never fall.
bool EOPData::isAscending(int first, int last) const {
  auto const falls = [](EOP const& a, EOP const& b) { return !(a.gpsTime <= b.gpsTime); };
  auto const begin = mEops.begin() + std::max(first, 0);
  auto const end = mEops.begin() + std::min(last + 1, recordsInMemory());
  return std::adjacent_find(begin, end, falls) == end;
}

void EOPData::addEOP(EOP const& eop) {
  mRevision.renew();
  if (mLoadFailed) {
    mEops.clear();
    mLoadFailed = false;
  }
  mEops.push_back(eop);
  mNumSets = static_cast<std::int32_t>(mEops.size());
  mAscending = (mNumSets == 1 || mAscending) && isAscending(mNumSets - 2, mNumSets - 1);
  mEndTime = eop.gpsTime;
}

void EOPData::recomputeFrequency() {
  mRevision.renew();
  if (hasRecord(1)) {
    mFrequency = 1.0 / (mEops[1].gpsTime - mEops[0].gpsTime);
  }
}

bool EOPData::setEOP(int i, EOP const& eop) {
  if (!hasRecord(i)) {
    return false;
  }
  mRevision.renew();
  mEops[static_cast<std::size_t>(i)] = eop;
  mAscending = mAscending && isAscending(i - 1, i + 1);
  return true;
}

bool EOPData::takeChange(int i) {
  if (!hasRecord(i)) {
    return false;
  }
  if (mCorrected.size() < mEops.size()) {
    mCorrected.resize(mEops.size(), false);
  }
  if (mCorrected[static_cast<std::size_t>(i)]) {
    return false;
  }
  mCorrected[static_cast<std::size_t>(i)] = true;
  mRevision.renew();
  return true;
}

bool EOPData::correctEOP(int i, float const& dx, float const& dy, float const& dz, float const& domega,
                         float const& dphi, float const& dkappa) {
  if (!takeChange(i)) {
    return false;
  }
  EOP& record = mEops[static_cast<std::size_t>(i)];
  float omega = 0.0F;
  float phi = 0.0F;
  float kappa = 0.0F;
  quaternionToOpk(record, omega, phi, kappa);
  auto const sum = [](float correction, float angle) {
    return static_cast<float>(static_cast<double>(correction) + static_cast<double>(angle));
  };
  record.x += static_cast<double>(dx);
  record.y += static_cast<double>(dy);
  record.z += static_cast<double>(dz);
  opkToQuaternion(sum(domega, omega), sum(dphi, phi), sum(dkappa, kappa), record);
  return true;
}

bool EOPData::updateEOP(int i, double const& x, double const& y, double const& z, float const& omega, float const& phi,
                        float const& kappa) {
  if (!takeChange(i)) {
    return false;
  }
  EOP& record = mEops[static_cast<std::size_t>(i)];
  record.x = x;
  record.y = y;
  record.z = z;
  opkToQuaternion(omega, phi, kappa, record);
  return true;
}

bool EOPData::setStdDevs(int i, float const& x, float const& y, float const& z, float const& omega, float const& phi,
                         float const& kappa) {
  if (!hasRecord(i)) {
    return false;
  }
  if (mStdDevs.size() < mEops.size()) {
    mStdDevs.resize(mEops.size(), mDefaultStdDevs);
  }
  mStdDevs[static_cast<std::size_t>(i)] = {x, y, z, omega, phi, kappa};
  return true;
}

void EOPData::setDefaultStdDevs(float x, float y, float z, float omega, float phi, float kappa) {
  mDefaultStdDevs = {x, y, z, omega, phi, kappa};
}

}  // namespace sensor
