// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomFlight.h"

#include "model/CameraAxes.h"

#include <cmath>
#include <limits>

namespace test {

namespace {

constexpr double flyingHeight = 1000.0;
constexpr double focalLength = 0.05;
constexpr double pixelSize = 1e-4;
constexpr int samples = 101;

}  // namespace

double RandomFlight::Wave::at(double line) const {
  return amplitude * std::sin(frequency * line + phase);
}

RandomFlight::RandomFlight(unsigned seed) : mSeed(seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  mHeading = 3.0 * unit(random);
  mTdi = seed % 3 == 0 ? static_cast<float>(2.0 * unit(random)) : 0.0F;
  for (auto* const axis : {&mRoll, &mPitch, &mYaw}) {
    // Slow swings of a degree, and a fast jitter of some tens of microradians.
    axis->push_back({0.017 * unit(random), 0.02, 3.0 * unit(random)});
    axis->push_back({4e-5 * unit(random), 1.0 + unit(random), 3.0 * unit(random)});
  }
  double const bow = 2e-4 * unit(random);
  double const distortion = 0.01 * unit(random);
  double const look = 0.01 * unit(random);
  double const side = seed % 2 == 0 ? 1.0 : -1.0;
  for (int i = 0; i < samples; ++i) {
    double const u = 2.0 * i / (samples - 1) - 1.0;
    mX.push_back(static_cast<float>(look + bow * u * u));
    mY.push_back(static_cast<float>(side * 0.5 * (samples - 1) * pixelSize * u * (1.0 + distortion * u * u)));
  }
}

sensor::EOP RandomFlight::orientation(double line) const {
  auto const sum = [line](std::vector<Wave> const& waves) {
    double angle = 0.0;
    for (Wave const& wave : waves) {
      angle += wave.at(line);
    }
    return angle;
  };
  sensor::EOP eop;
  sensor::opkToQuaternion(sum(mRoll), sum(mPitch), mHeading + sum(mYaw), eop);
  eop.x = std::cos(mHeading) * line;
  eop.y = std::sin(mHeading) * line;
  eop.z = flyingHeight + 0.1 * std::sin(0.05 * line);
  return eop;
}

void RandomFlight::operator()(float line, bool headingOnly, unsigned lane, sensor::FourLaneOrientation& lanes) const {
  sensor::EOP eop = orientation(static_cast<double>(line));
  if (headingOnly) {
    sensor::kappaToQuaternion(static_cast<double>(sensor::kappaOf(eop)), eop);
  }
  lanes.set(lane, eop, mTdi * static_cast<float>(pixelSize));
}

// A line of 1 m is half of a pixel's 2 m.
sensor::FourLaneConstants RandomFlight::constants() const {
  return {mX.data(),
          mY.data(),
          samples - 1,
          0.0F,
          static_cast<float>(focalLength),
          {static_cast<float>(pixelSize), 0.0F, static_cast<float>(flyingHeight), 2.0F},
          static_cast<float>(lines() / 2.0)};
}

geo::XYZPoint RandomFlight::groundOf(geo::XYPoint const& image) const {
  auto const i = static_cast<std::size_t>(image.x);
  double const part = image.x - static_cast<double>(i);
  auto const between = [&](std::vector<float> const& table) {
    return static_cast<double>(table[i]) + part * static_cast<double>(table[i + 1] - table[i]);
  };
  double const x = between(mX) + static_cast<double>(mTdi) * pixelSize;
  double const y = between(mY);
  sensor::EOP const eop = orientation(image.y);
  auto const [alongFlight, alongLine, up] = sensor::quaternionToRotation(eop);
  double const s = -eop.z / (alongFlight.z * x + alongLine.z * y - up.z * focalLength);
  return {eop.x + s * (alongFlight.x * x + alongLine.x * y - up.x * focalLength),
          eop.y + s * (alongFlight.y * x + alongLine.y * y - up.y * focalLength), 0.0};
}

std::vector<geo::XYZPoint> RandomFlight::grid() const {
  geo::XYZPoint const origin = groundOf({0.0, 0.0});
  geo::XYZPoint const across = groundOf({lastSample() - 0.5, 0.0});
  geo::XYZPoint const along = groundOf({0.0, lines()});
  std::vector<geo::XYZPoint> points;
  for (double v = -0.2; v < 1.2; v += 0.02) {
    for (double u = -0.2; u < 1.2; u += 0.02) {
      points.emplace_back(origin.x + u * (across.x - origin.x) + v * (along.x - origin.x),
                          origin.y + u * (across.y - origin.y) + v * (along.y - origin.y), 20.0 * u);
    }
  }
  return points;
}

std::vector<geo::XYZPoint> RandomFlight::scatter() const {
  std::mt19937 random(mSeed + 1000);
  std::uniform_real_distribution<double> place(-5000.0, 5000.0);
  std::uniform_real_distribution<double> height(-500.0, 1500.0);
  std::vector<geo::XYZPoint> points;
  points.reserve(400);
  for (int i = 0; i < 400; ++i) {
    points.emplace_back(place(random), place(random), height(random));
  }
  return points;
}

std::vector<geo::XYZPoint> RandomFlight::hostilePoints() const {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  std::vector<geo::XYZPoint> points;
  for (double const x : {0.0, nan, infinity, -infinity, 1e300, 1e38, 7.0}) {
    for (double const y : {0.0, nan, -infinity, -1e300, 9.0}) {
      for (double const z : {0.0, nan, infinity, 1000.0, 1e20, -1e39}) {
        points.emplace_back(x, y, z);
        points.push_back(groundOf({40.0, 60.0}));
      }
    }
  }
  return points;
}

}  // namespace test
