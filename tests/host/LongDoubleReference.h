// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/kes.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace test {

using Real = long double;

/// Values that hold from a line on, from line 0.
using Steps = std::map<int, int>;

/// The TDI stages and integration times, microseconds, of a band.
struct Tdi {
  Steps stages{{0, 1}};
  Steps integration{{0, 0}};

  int stagesAt(int line) const { return valueAt(stages, line); }
  int integrationAt(int line) const { return valueAt(integration, line); }

private:
  static int valueAt(Steps const& steps, int line) {
    auto const next = steps.upper_bound(line);
    return next == steps.begin() ? next->second : std::prev(next)->second;
  }
};

/// The formulae of the projections written anew, in long double: a band straight from the library's tables, and its TDI
/// stages as they were written.
class Reference {
public:
  Reference(kes::Strip const& strip, char const* id, Tdi tdi = {}) : mModel(strip.model()), mTdi(std::move(tdi)) {
    int const band = mModel.bandIndex(id);
    mTimes = mModel.img(band)->cameraTime()->values();
    auto const changes = mModel.img(band)->cameraTime()->getInternalCtglRepresentation();
    Real const mean = (static_cast<Real>(mTimes.back()) - mTimes.front()) / static_cast<Real>(mTimes.size() - 1);
    mFirstCycle = changes.empty() ? mean : static_cast<Real>(changes.begin()->second.cycleTime);
    mLastCycle = changes.empty() ? mean : static_cast<Real>(changes.rbegin()->second.cycleTime);
    mIsUniform = changes.empty();
    for (auto const& [time, change] : changes) {
      mCycles[static_cast<int>(change.line)] = static_cast<Real>(change.cycleTime);
    }
    mEop.resize(static_cast<std::size_t>(mModel.eop()->numSets()));
    for (std::size_t i = 0; i < mEop.size(); ++i) {
      mModel.eop()->atIndex(static_cast<int>(i), mEop[i]);
    }
    sensor::CalibrationGeometryKes calibration(*mModel.modelData()->calib(band));
    float size = 0.0F;
    int samples = 0;
    int imaging = 0;
    calibration.getPixelData(size, samples, imaging, mX, mY, 1.0);
    mPixelSize = static_cast<Real>(calibration.pixelSize());
    mFocalLength = static_cast<Real>(calibration.focalLength());
    mOffset = mModel.img(band)->sampleOffsetFromCalib();
  }

  Real pixelSize() const { return mPixelSize; }

  Real time(Real line) const {
    auto const n = static_cast<Real>(mTimes.size()) - 1.0L;
    if (line < -1.0L) {
      return time(-1.0L) + (line + 1.0L) * mFirstCycle;
    }
    if (line > n) {
      return mTimes.back() + (line - n) * mLastCycle;
    }
    auto const k = static_cast<std::size_t>(std::min(std::max(std::floor(line), 0.0L), n - 1.0L));
    return mTimes[k] + (static_cast<Real>(mTimes[k + 1]) - mTimes[k]) * (line - static_cast<Real>(k));
  }

  /// When a line is exposed, and how many lines its own time is after that.
  struct Exposure {
    Real time;
    Real correction;
  };
  // Between two whole lines, both are linear. A line between with more than one stage has TDI at both of them; where
  // the integration time steps, each whole line has its own.
  Exposure exposure(Real line) const {
    auto const k = static_cast<int>(std::floor(line));
    bool const isStep = mTdi.integrationAt(k) != mTdi.integrationAt(k + 1);
    bool const first = mTdi.stagesAt(k) > 1;
    bool const last = mTdi.stagesAt(k + 1) > 1;
    Exposure const a = exposureOf(k, isStep ? first : first || last);
    Exposure const b = exposureOf(k + 1, isStep ? last : first || last);
    Real const u = line - static_cast<Real>(k);
    return {a.time + (b.time - a.time) * u, a.correction + (b.correction - a.correction) * u};
  }

  using Vector = std::array<Real, 3>;
  using Quaternion = std::array<Real, 4>;

  /// v' = q v q*, written out by its cross products.
  static Vector turned(Quaternion const& q, Vector const& v) {
    Vector const c{q[2] * v[2] - q[3] * v[1], q[3] * v[0] - q[1] * v[2], q[1] * v[1] - q[2] * v[0]};
    return {v[0] + 2 * (q[0] * c[0] + q[2] * c[2] - q[3] * c[1]), v[1] + 2 * (q[0] * c[1] + q[3] * c[0] - q[1] * c[2]),
            v[2] + 2 * (q[0] * c[2] + q[1] * c[1] - q[2] * c[0])};
  }

  /// Where the camera is at a time; the quaternion, of length 1, turns the ground into the camera.
  struct Pose {
    Vector position;
    Quaternion attitude;
  };
  Pose pose(Real t) const {
    std::size_t const next = recordAfter(t);
    sensor::EOP const& b = mEop[next];
    sensor::EOP const& a = mEop[next - 1];
    Real const w = (t - a.gpsTime) / (static_cast<Real>(b.gpsTime) - a.gpsTime);
    auto const mix = [w](Real from, Real to) { return from + w * (to - from); };
    Quaternion q{mix(a.q0, b.q0), mix(a.q1, b.q1), mix(a.q2, b.q2), mix(a.q3, b.q3)};
    Real const length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (Real& part : q) {
      part /= length;
    }
    return {{mix(a.x, b.x), mix(a.y, b.y), mix(a.z, b.z)}, q};
  }
  /// The number of the first record after a time; within the flight.
  std::size_t recordAfter(Real t) const {
    auto const next = std::upper_bound(mEop.begin() + 1, mEop.end() - 1, t,
                                       [](Real value, sensor::EOP const& eop) { return value < eop.gpsTime; });
    return static_cast<std::size_t>(next - mEop.begin());
  }

  Real focalLength() const { return mFocalLength; }
  /// The last sample of the calibration, and the image's sample 0 there.
  Real lastCalibrated() const { return static_cast<Real>(mX.size() - 1); }
  Real offset() const { return mOffset; }
  /// The focal position of a sample between the first and the last calibrated one.
  std::array<Real, 2> focal(Real sample) const {
    Real const s = sample + mOffset;
    auto const k = static_cast<std::size_t>(std::min(std::max(std::floor(s), 0.0L), lastCalibrated() - 1.0L));
    Real const part = s - static_cast<Real>(k);
    return {mX[k] + (static_cast<Real>(mX[k + 1]) - mX[k]) * part,
            mY[k] + (static_cast<Real>(mY[k + 1]) - mY[k]) * part};
  }

  /// How far ahead of the sensor line a position is in the focal plane at a line, metres; and its sample there.
  struct Seen {
    Real ahead;
    Real sample;
  };
  Seen see(geo::XYZPoint const& p, Real line) const {
    auto const [t, correction] = exposure(line);
    Pose const pose = this->pose(t);
    Vector const v = turned(pose.attitude, {p.x - pose.position[0], p.y - pose.position[1], p.z - pose.position[2]});
    Real const s = -mFocalLength / v[2];
    return at(v[0] * s - mPixelSize * correction, v[1] * s);
  }

  /// The first line from the margin on at which the position falls onto the sensor line, sought in steps of a sixteenth
  /// of a line.
  Real firstLine(geo::XYZPoint const& p, Real from, Real to) const {
    constexpr Real step = 1.0L / 16.0L;
    Real before = see(p, from).ahead;
    for (Real line = from + step; line <= to; line += step) {
      Real const ahead = see(p, line).ahead;
      if ((before > 0) != (ahead > 0)) {
        return bisected(p, line - step, line);
      }
      before = ahead;
    }
    return std::numeric_limits<Real>::quiet_NaN();
  }

private:
  // The exposure has its centre half a cycle less half the integration time after the line's own time.
  Exposure exposureOf(int line, bool hasTdi) const {
    auto const own = static_cast<Real>(line);
    if (!hasTdi) {
      return {time(own), 0};
    }
    Real const t = time(own) + (cycle(line) - 1e-6L * static_cast<Real>(mTdi.integrationAt(line))) / 2;
    return {t, own - lineAt(t)};
  }
  Real cycle(int line) const {
    auto const next = mCycles.upper_bound(line);
    return next == mCycles.begin() ? mFirstCycle : std::prev(next)->second;
  }
  Real lineAt(Real t) const {
    if (mIsUniform || t < mTimes.front()) {
      return (t - mTimes.front()) / mFirstCycle;
    }
    if (t >= mTimes.back()) {
      return static_cast<Real>(mTimes.size() - 1) + (t - mTimes.back()) / mLastCycle;
    }
    auto const k = static_cast<std::size_t>(std::upper_bound(mTimes.begin(), mTimes.end(), t) - mTimes.begin()) - 1;
    return static_cast<Real>(k) + (t - mTimes[k]) / (static_cast<Real>(mTimes[k + 1]) - mTimes[k]);
  }

  // Where a focal position lies: by a search through the table.
  Seen at(Real x, Real y) const {
    std::size_t const last = mY.size() - 1;
    bool const isReverse = mY[last] < mY[0];
    std::size_t k = 0;
    while (k + 1 < last && (isReverse ? y < mY[k + 1] : y > mY[k + 1])) {
      ++k;
    }
    Real const part = (y - mY[k]) / (static_cast<Real>(mY[k + 1]) - mY[k]);
    Real const sensorX = mX[k] + (static_cast<Real>(mX[k + 1]) - mX[k]) * part;
    return {x - sensorX, static_cast<Real>(k) + part - mOffset};
  }

  Real bisected(geo::XYZPoint const& p, Real low, Real high) const {
    bool const isAhead = see(p, low).ahead > 0;
    for (int i = 0; i < 60; ++i) {
      Real const middle = 0.5L * (low + high);
      ((see(p, middle).ahead > 0) == isAhead ? low : high) = middle;
    }
    return low;
  }

  sensor::KESStripModel const& mModel;
  Tdi mTdi;
  std::vector<double> mTimes;
  std::map<int, Real> mCycles;
  bool mIsUniform;
  std::vector<sensor::EOP> mEop;
  std::vector<double> mX;
  std::vector<double> mY;
  Real mFirstCycle;
  Real mLastCycle;
  Real mFocalLength = 0;
  Real mPixelSize = 0;
  Real mOffset = 0;
};

}  // namespace test
