#include "common/Truncate.h"
#include "orientation/Attitude.h"

#include <sensor/EOPData.h>

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

// The next interval to look at for a time that lies in none of those before: back, forward, or behind a time that is
// no number, where there is no order to follow, nowhere.
int nextInterval(int i, EOP const& a, EOP const& b, double t) {
  constexpr int nowhere = -2;
  if (!(t > a.gpsTime)) {
    return i - 1;
  }
  return t >= b.gpsTime ? i + 1 : nowhere;
}

}  // namespace

EOPData::EOPData(std::string const& fileName, bool const& loadData, bool const& loadStdDevs) {
  if (!fileName.empty()) {
    read(fileName, loadData, loadStdDevs);
  }
}

// The records stand at a constant rate, or nearly so: one multiplication gives the interval.
int EOPData::firstGuess(double t) const {
  int const n = static_cast<int>(mEops.size());
  int const i = truncated<std::int32_t>(mFrequency * (t - mStartTime));
  return i >= n - 1 && mStartTime <= t && t <= mEndTime ? n - 2 : i;
}

int EOPData::atGPS(TimeQuantity<double> const& time, EOP& out) const {
  double const t = time.value();
  int const n = static_cast<int>(mEops.size());
  if (n < 2) {
    return notFound;
  }
  EOP const* const records = mEops.data();
  int i = firstGuess(t);
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
    i = nextInterval(i, a, b, t);
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

// `span` seconds from the record `end`, at the rate from one record to the other, which takes the time of a whole period.
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
  copyStdDevs(deviations, x, y, z, omega, phi, kappa);
  return result;
}

int EOPData::stdDevsAt(double t, StdDevs& out) const {
  int const n = static_cast<int>(mEops.size());
  if (n == 0 || mStdDevs.size() < mEops.size()) {
    return notFound;
  }
  int i = firstGuess(t);
  while (i >= 0 && i < n - 1) {
    auto const k = static_cast<std::size_t>(i);
    EOP const& a = mEops[k];
    EOP const& b = mEops[k + 1];
    if (a.gpsTime <= t && t <= b.gpsTime) {
      out = blend(mStdDevs[k], mStdDevs[k + 1], weightOfStdDevs(a.gpsTime, b.gpsTime, t));
      return found;
    }
    i = nextInterval(i, a, b, t);
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
  return i >= 0 && i < mNumSets && static_cast<std::size_t>(i) < mEops.size();
}

void EOPData::addEOP(EOP const& eop) {
  mEops.push_back(eop);
  mNumSets = static_cast<std::int32_t>(mEops.size());
  mEndTime = eop.gpsTime;
}

void EOPData::recomputeFrequency() {
  if (mEops.size() > 1) {
    mFrequency = 1.0 / (mEops[1].gpsTime - mEops[0].gpsTime);
  }
}

bool EOPData::setEOP(int i, EOP const& eop) {
  if (!hasRecord(i)) {
    return false;
  }
  mEops[static_cast<std::size_t>(i)] = eop;
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
