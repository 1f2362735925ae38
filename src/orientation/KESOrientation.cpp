// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"
#include "common/Truncate.h"
#include "files/formats/OdfFile.h"

#include <sensor/KESOrientation.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace sensor {

namespace {

constexpr int timeKey = 22;
constexpr int positionKey = 23;
constexpr int angularKey = 24;
constexpr int positionStdDevKey = 25;
constexpr int angularStdDevKey = 26;

constexpr int packed = 2;
constexpr int timeOutOfRange = 4;

constexpr int fineAngularUnits = 2;

std::int32_t now() {
  auto const sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return truncated<std::int32_t>(std::chrono::duration<double>(sinceEpoch).count());
}

bool sameRecords(std::vector<odf> const& a, std::vector<odf> const& b) {
  static_assert(std::has_unique_object_representations_v<odf>, "bytes without a meaning would count");
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(odf)) == 0);
}

// The whole number in the middle between the smallest and the largest of `count` values.
template <class ValueAt>
std::int32_t middle(std::size_t count, ValueAt valueAt) {
  double min = 1e50;
  double max = -1e50;
  for (std::size_t i = 0; i < count; ++i) {
    double const value = valueAt(i);
    min = value < min ? value : min;
    max = value > max ? value : max;
  }
  return truncated<std::int32_t>((min + max) * 0.5);
}

std::int32_t middle(std::vector<double> const& values, std::size_t count) {
  return middle(count, [&](std::size_t i) { return values[i]; });
}

double unpacked(std::int32_t value, int scale) {
  return static_cast<double>(value) / static_cast<double>(scale);
}

float unpackedStdDev(std::uint16_t value, int scale) {
  return static_cast<float>(value) / static_cast<float>(scale);
}

// Packs a standard deviation; false, with a message, when it has no room.
bool packStdDev(char const* quantity, float value, int scale, std::uint16_t& to) {
  constexpr float largest = 65536.0F;
  float const v = static_cast<float>(scale) * value;
  if (v > largest) {
    std::cerr << "\nNumerical overflow in " + std::string(quantity) +
                     " stddev value: " + fixedText(static_cast<double>(v), 6) + "\n";
    return false;
  }
  to = static_cast<std::uint16_t>(truncated<std::int32_t>(v + 0.5F));
  return true;
}

}  // namespace

KESOrientation::KESOrientation() : mVersion(odfFile::currentVersion), mAbsoluteTime(seconds(now())) {}

KESOrientation::KESOrientation(std::string const& fileName) : KESOrientation() {
  if (read(fileName) != 0) {
    throw std::runtime_error("sensor::KESOrientation::KESOrientation(42) Can't load " + fileName);
  }
}

bool KESOrientation::operator==(KESOrientation const& other) const {
  auto const header = [](KESOrientation const& o) {
    return std::tie(o.mFileName, o.mVersion, o.mDataSource, o.mProjectName, o.mStripName, o.mPositionUnits,
                    o.mAngularUnits, o.mRotationSequence, o.mComments, o.mAbsoluteTime, o.mBaseTime, o.mBaseX, o.mBaseY,
                    o.mBaseZ, o.mTimeScale, o.mPositionScale, o.mAngularScale, o.mPositionStdDevScale,
                    o.mAngularStdDevScale, o.mAnchorLatitude, o.mAnchorLongitude);
  };
  auto const internalVectors = [](KESOrientation const& o) {
    return std::tie(o.mT, o.mX, o.mY, o.mZ, o.mOmega, o.mPhi, o.mKappa);
  };
  return header(*this) == header(other) && sameRecords(mRecords, other.mRecords) &&
         (other.mT.empty() || internalVectors(*this) == internalVectors(other));
}

void KESOrientation::setAngularUnits(int code) {
  constexpr int fineDigits = 8;
  constexpr int usualDigits = 6;
  mAngularUnits = code;
  setPrecision(angularKey, code == fineAngularUnits ? fineDigits : usualDigits);
}

void KESOrientation::setAnchorPoint(double latitude, double longitude) {
  mAnchorLatitude = latitude;
  mAnchorLongitude = longitude;
}

// The scale under a key; null for a key that has none.
int KESOrientation::*KESOrientation::scale(int key) {
  switch (key) {
  case timeKey:
    return &KESOrientation::mTimeScale;
  case positionKey:
    return &KESOrientation::mPositionScale;
  case angularKey:
    return &KESOrientation::mAngularScale;
  case positionStdDevKey:
    return &KESOrientation::mPositionStdDevScale;
  case angularStdDevKey:
    return &KESOrientation::mAngularStdDevScale;
  default:
    return nullptr;
  }
}

void KESOrientation::setPrecision(int key, int digits) {
  if (auto const value = scale(key)) {
    this->*value = truncated<std::int32_t>(std::pow(10.0, digits) + 0.5);
  }
}

int KESOrientation::precision(int key) const {
  auto const value = scale(key);
  return value == nullptr ? 0 : truncated<std::int32_t>(std::log10(this->*value) + 0.5);
}

int KESOrientation::setNumSets(int count) {
  mRecords.assign(static_cast<std::size_t>(std::max(count, 0)), {});
  return 1;
}

int KESOrientation::setNumSets(int count, bool clear) {
  if (clear) {
    return setNumSets(count);
  }
  mRecords.resize(static_cast<std::size_t>(std::max(count, 0)));
  return count;
}

TimeQuantity<double> KESOrientation::t(int index) const {
  return seconds(unpacked(mRecords[static_cast<std::size_t>(index)].t, mTimeScale) +
                 static_cast<double>(mBaseTime.value()));
}

double KESOrientation::x(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].x, mPositionScale) + static_cast<double>(mBaseX);
}

double KESOrientation::y(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].y, mPositionScale) + static_cast<double>(mBaseY);
}

double KESOrientation::z(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].z, mPositionScale) + static_cast<double>(mBaseZ);
}

double KESOrientation::omega(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].omega, mAngularScale);
}

double KESOrientation::phi(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].phi, mAngularScale);
}

double KESOrientation::kappa(int index) const {
  return unpacked(mRecords[static_cast<std::size_t>(index)].kappa, mAngularScale);
}

// Whether start + count is above the number of records, in a form that no two numbers can make overflow.
bool KESOrientation::endsBeyondRecords(long start, long count) const {
  return count >= 0 ? start > numSets() - count : start >= 0 && count > numSets() - start;
}

bool KESOrientation::hasRecords(long start, long count) const {
  return start >= 0 && !endsBeyondRecords(start, count);
}

int KESOrientation::XYZOPK(long start, long count, TimeQuantity<double>* t, double* x, double* y, double* z,
                           double* omega, double* phi, double* kappa) const {
  if (!hasRecords(start, count)) {
    return 0;
  }
  for (long i = 0; i < count; ++i) {
    int const index = static_cast<int>(start + i);
    t[i] = this->t(index);
    x[i] = this->x(index);
    y[i] = this->y(index);
    z[i] = this->z(index);
    omega[i] = this->omega(index);
    phi[i] = this->phi(index);
    kappa[i] = this->kappa(index);
  }
  return 1;
}

std::size_t KESOrientation::shortestInternalVector() const {
  return std::min({mT.size(), mX.size(), mY.size(), mZ.size(), mOmega.size(), mPhi.size(), mKappa.size()});
}

int KESOrientation::setXYZOPK(long start, long count, TimeQuantity<double> const* t, double const* x, double const* y,
                              double const* z, double const* omega, double const* phi, double const* kappa) {
  if (endsBeyondRecords(start, count)) {
    return -1;
  }
  bool const startAnew = shortestInternalVector() == 0;
  long const end = count > 0 ? start + count : start;
  auto const copy = [&](auto const* from, auto& to) {
    if (startAnew) {
      to.clear();
    }
    to.resize(std::max(to.size(), mRecords.size()));
    // Elements before the first are dropped.
    for (long i = std::max(start, 0L); i < end; ++i) {
      to[static_cast<std::size_t>(i)] = from[i - start];
    }
  };
  copy(t, mT);
  copy(x, mX);
  copy(y, mY);
  copy(z, mZ);
  copy(omega, mOmega);
  copy(phi, mPhi);
  copy(kappa, mKappa);
  return 1;
}

int KESOrientation::stdDev(long start, long count, float* x, float* y, float* z, float* omega, float* phi,
                           float* kappa) const {
  if (!hasRecords(start, count)) {
    return 0;
  }
  for (long i = 0; i < count; ++i) {
    odf const& record = mRecords[static_cast<std::size_t>(start + i)];
    x[i] = unpackedStdDev(record.stdDevX, mPositionStdDevScale);
    y[i] = unpackedStdDev(record.stdDevY, mPositionStdDevScale);
    z[i] = unpackedStdDev(record.stdDevZ, mPositionStdDevScale);
    omega[i] = unpackedStdDev(record.stdDevOmega, mAngularStdDevScale);
    phi[i] = unpackedStdDev(record.stdDevPhi, mAngularStdDevScale);
    kappa[i] = unpackedStdDev(record.stdDevKappa, mAngularStdDevScale);
  }
  return 1;
}

float KESOrientation::stdDev(int key, int index) const {
  constexpr int firstKey = 16;
  constexpr int lastKey = 21;
  if (key < firstKey || key > lastKey) {
    return 0.0F;
  }
  std::array<float, 6> v{};
  stdDev(index, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
  return v[static_cast<std::size_t>(key - firstKey)];
}

int KESOrientation::setStdDev(long start, long count, float const* x, float const* y, float const* z,
                              float const* omega, float const* phi, float const* kappa) {
  for (long i = 0; i < count; ++i) {
    odf& record = mRecords[static_cast<std::size_t>(start + i)];
    bool const hasRoom = packStdDev("x", x[i], mPositionStdDevScale, record.stdDevX) &&
                         packStdDev("y", y[i], mPositionStdDevScale, record.stdDevY) &&
                         packStdDev("z", z[i], mPositionStdDevScale, record.stdDevZ) &&
                         packStdDev("omega", omega[i], mAngularStdDevScale, record.stdDevOmega) &&
                         packStdDev("phi", phi[i], mAngularStdDevScale, record.stdDevPhi) &&
                         packStdDev("kappa", kappa[i], mAngularStdDevScale, record.stdDevKappa);
    if (!hasRoom) {
      return 0;
    }
  }
  return 1;
}

void KESOrientation::zRange(double& min, double& max) const {
  auto const [low, high] =
      std::minmax_element(mRecords.begin(), mRecords.end(), [](odf const& a, odf const& b) { return a.z < b.z; });
  // In double, where a quotient of two such numbers never rounds up to a whole one, and a scale of 0 is no trap.
  auto const whole = [&](auto record) {
    double const units = record == mRecords.end() ? 0.0 : std::trunc(unpacked(record->z, mPositionScale));
    return units + static_cast<double>(mBaseZ);
  };
  min = whole(low);
  max = whole(high);
}

void KESOrientation::setBases() {
  if (!mT.empty()) {
    mBaseTime = seconds(middle(mT.size(), [&](std::size_t i) { return mT[i].value(); }));
  }
  mBaseX = middle(mX, mRecords.size());
  mBaseY = middle(mY, mRecords.size());
  mBaseZ = middle(mZ, mRecords.size());
}

int KESOrientation::compress() {
  if (shortestInternalVector() < mRecords.size()) {
    return packed;
  }
  setBases();
  int result = packed;
  for (std::size_t i = 0; i < mRecords.size() && result == packed; ++i) {
    result = packRecord(i);
  }
  return result;
}

int KESOrientation::packRecord(std::size_t i) {
  auto const based = [](double value, std::int32_t base, int scale) {
    return (value - static_cast<double>(base)) * static_cast<double>(scale);
  };
  auto const angle = [&](double value) { return static_cast<double>(mAngularScale) * value; };
  std::array<double, 7> const scaled{based(mT[i].value(), mBaseTime.value(), mTimeScale),
                                     based(mX[i], mBaseX, mPositionScale),
                                     based(mY[i], mBaseY, mPositionScale),
                                     based(mZ[i], mBaseZ, mPositionScale),
                                     angle(mOmega[i]),
                                     angle(mPhi[i]),
                                     angle(mKappa[i])};
  odf& record = mRecords[i];
  std::array<std::int32_t*, 7> const fields{&record.t,     &record.x,   &record.y,    &record.z,
                                            &record.omega, &record.phi, &record.kappa};
  constexpr double end = std::numeric_limits<std::int32_t>::max();
  for (std::size_t k = 0; k < fields.size(); ++k) {
    if (std::abs(scaled[k]) >= end) {
      return timeOutOfRange + static_cast<int>(k);
    }
    *fields[k] = truncated<std::int32_t>(scaled[k] + 0.5);
  }
  return packed;
}

void KESOrientation::CalculateInternalVectors() {
  for (std::vector<double>* const values : {&mX, &mY, &mZ, &mOmega, &mPhi, &mKappa}) {
    values->resize(mRecords.size());
  }
  mT.resize(mRecords.size());
  XYZOPK(0, numSets(), mT.data(), mX.data(), mY.data(), mZ.data(), mOmega.data(), mPhi.data(), mKappa.data());
}

}  // namespace sensor
