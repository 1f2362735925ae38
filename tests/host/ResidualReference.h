// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LongDoubleReference.h"

#include <kes/kes.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>

namespace test {

/// All that a residual in the focal plane depends on, one after the other.
struct Inputs {
  enum Input : std::size_t {
    image = 0,
    ground = 2,
    position = 5,
    attitude = 8,
    boresight = 11,
    leverArm = 14,
    time = 17,
    focalLength = 18,
    principalPoint = 19,
    line = 21,
    attitudeTurn = 26,  ///< After the attitude's correction.
    boresightTurn = 29,
    count = 32
  };
  std::array<Real, count> values{};

  Inputs(geo::XYPoint const& at, geo::XYZPoint const& seen, kes::ModelCorrections const& corrections) {
    set(image, std::array{at.x, at.y});
    set(ground, std::array{seen.x, seen.y, seen.z});
    set(position, corrections.position);
    set(attitude, corrections.attitude);
    set(boresight, corrections.boresight);
    set(leverArm, corrections.leverArm);
    set(time, std::array{corrections.time});
    set(focalLength, std::array{corrections.focalLength});
    set(principalPoint, corrections.principalPoint);
    set(line, corrections.line);
  }
  std::array<Real, 3> three(std::size_t first) const { return {values[first], values[first + 1], values[first + 2]}; }
  /// The ground position in double.
  geo::XYZPoint rounded() const {
    return {static_cast<double>(values[ground]), static_cast<double>(values[ground + 1]),
            static_cast<double>(values[ground + 2])};
  }

private:
  template <class Array>
  void set(std::size_t first, Array const& from) {
    std::copy(from.begin(), from.end(), values.begin() + static_cast<std::ptrdiff_t>(first));
  }
};

/// The residual of a band's positions in the focal plane, in long double, and the positions at which it is zero.
class ResidualReference {
public:
  ResidualReference(kes::Strip const& strip, char const* id) : mBand(strip, id, tdiOf(strip, id)) {}

  Reference const& band() const { return mBand; }

  std::array<Real, 2> residual(Inputs const& in) const {
    auto const& x = in.values;
    auto const [t, correction] = mBand.exposure(x[Inputs::image + 1]);
    Reference::Pose const pose = mBand.pose(t + x[Inputs::time]);
    Reference::Vector v;
    for (std::size_t i = 0; i < 3; ++i) {
      v[i] = x[Inputs::ground + i] - pose.position[i] - x[Inputs::position + i];
    }
    // Turned from the ground to the camera: each rotation's inverse in its turn.
    v = Reference::turned(pose.attitude, v);
    for (std::size_t const rotation :
         {Inputs::attitude, Inputs::attitudeTurn, Inputs::boresight, Inputs::boresightTurn}) {
      v = Reference::turned(inverseOf(in.three(rotation)), v);
    }
    for (std::size_t i = 0; i < 3; ++i) {
      v[i] -= x[Inputs::leverArm + i];
    }
    Real const f = mBand.focalLength() + x[Inputs::focalLength];
    auto const focal = mBand.focal(x[Inputs::image]);
    Real const n = 2 * (x[Inputs::image] + mBand.offset()) / mBand.lastCalibrated() - 1;
    Real const* const line = &x[Inputs::line];
    return {f * v[0] / v[2] + focal[0] + mBand.pixelSize() * correction - x[Inputs::principalPoint] + line[0] +
                line[2] * n + line[3] * (3 * n * n - 1) / 2,
            f * v[1] / v[2] + focal[1] - x[Inputs::principalPoint + 1] + line[1] + line[4] * n};
  }

  /// With x and y of the ground position such that there is no residual.
  Inputs groundOf(Inputs const& start) const { return solved(start, Inputs::ground, 1.0L); }
  /// The image position without a residual.
  std::array<Real, 2> imageOf(Inputs const& start) const {
    Inputs const found = solved(start, Inputs::image, 1e-3L);
    return {found.values[Inputs::image], found.values[Inputs::image + 1]};
  }

  /// Whether there is no kink of the model near an image position.
  bool isSmooth(kes::Band const& band, geo::XYPoint const& image, kes::ModelCorrections const& corrections) const {
    constexpr double reach = 0.06;
    auto const isBetween = [](double value) {
      return value - std::floor(value) > reach && value - std::floor(value) < 1.0 - reach;
    };
    if (!band.contains(image) || !isBetween(image.x) || !isBetween(image.y) || image.x < 0.0 ||
        image.x > band.samples() - 1.0 || image.y < 0.0 || image.y > band.lines() - 1.0) {
      return false;
    }
    auto const record = [&](double line) {
      return mBand.recordAfter(mBand.exposure(static_cast<Real>(line)).time + static_cast<Real>(corrections.time));
    };
    return record(image.y - reach) == record(image.y + reach);
  }

private:
  // What the flights of tests/host/RandomStrips.h were written with.
  static Tdi tdiOf(kes::Strip const& strip, std::string const& id) {
    if (id != "REDF16A") {
      return {};
    }
    kes::Band const band = strip.band(id);
    int const quarter = band.lines() / 4;
    auto const cycle = static_cast<int>(std::lround((band.endTime() - band.startTime()) / (band.lines() - 1) * 1e6));
    return {{{0, 1}, {quarter, 2}, {2 * quarter, 4}, {3 * quarter, 2}},
            {{0, cycle * 9 / 10}, {quarter + quarter / 2, cycle * 7 / 10}, {3 * quarter, cycle / 2}}};
  }

  static Reference::Quaternion inverseOf(Reference::Vector const& rotation) {
    Real const angle = std::hypot(rotation[0], rotation[1], rotation[2]);
    Real const sine = angle == 0 ? 0.5L : std::sin(angle / 2) / angle;
    return {std::cos(angle / 2), -sine * rotation[0], -sine * rotation[1], -sine * rotation[2]};
  }

  // By Newton's method, with differences for a Jacobian.
  Inputs solved(Inputs in, std::size_t first, Real step) const {
    for (int pass = 0; pass < 8; ++pass) {
      auto const r = residual(in);
      std::array<std::array<Real, 2>, 2> columns{};
      for (std::size_t k = 0; k < 2; ++k) {
        Inputs above = in;
        Inputs below = in;
        above.values[first + k] += step;
        below.values[first + k] -= step;
        auto const a = residual(above);
        auto const b = residual(below);
        columns[k] = {(a[0] - b[0]) / (2 * step), (a[1] - b[1]) / (2 * step)};
      }
      Real const determinant = columns[0][0] * columns[1][1] - columns[1][0] * columns[0][1];
      in.values[first] -= (columns[1][1] * r[0] - columns[1][0] * r[1]) / determinant;
      in.values[first + 1] -= (columns[0][0] * r[1] - columns[0][1] * r[0]) / determinant;
    }
    return in;
  }

  Reference mBand;
};

}  // namespace test
