// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/LineRadiometry.h>
#include <simulation/Random.h>

#include <cmath>

namespace simulation {

namespace {

constexpr std::uint64_t firstStream = 301;  // of the random numbers of a camera; each line has one

std::size_t tdiSettings(SensorLine const& line) {
  constexpr double narrow = 100e-9;
  return line.bandWidth < narrow ? 3 : 2;
}

// The pixels' scatter falls with the root of the stages that a setting sums.
std::vector<float> responses(std::size_t pixels, double stages, Random& random) {
  constexpr double scatter = 0.008;
  std::vector<float> factors(pixels);
  for (float& factor : factors) {
    factor = static_cast<float>(1.0 + random.normal(scatter / std::sqrt(stages)));
  }
  return factors;
}

// Dark current adds up over the stages, the offset of the electronics doesn't.
std::vector<std::uint16_t> darkSignals(std::size_t pixels, double stages, Random& random) {
  constexpr double offset = 100.0;
  constexpr double current = 20.0;
  constexpr double scatter = 1.5;
  std::vector<std::uint16_t> signals(pixels);
  for (std::uint16_t& signal : signals) {
    signal = static_cast<std::uint16_t>(std::lround(offset + current * stages + random.normal(scatter)));
  }
  return signals;
}

// Sags by `depth` in the middle of the range, and is exact at its ends.
LineRadiometry::Curve curve(double depth) {
  constexpr double greatest = LineRadiometry::greatestNumber;
  LineRadiometry::Curve points;
  for (double const in : {0.0, 2000.0, 5000.0, 9000.0, 13000.0, greatest}) {
    points.emplace_back(in, in + depth * 4.0 * in * (greatest - in) / (greatest * greatest));
  }
  return points;
}

}  // namespace

LineRadiometry lineRadiometry(CameraHead const& head, std::size_t index) {
  SensorLine const& line = head.lines().at(index);
  std::size_t const pixels = line.x.size();
  auto const place = static_cast<double>(index);
  Random random(pixels, firstStream + index);
  LineRadiometry radiometry;
  radiometry.gain = 0.0125 + 0.0005 * place;
  double stages = 1.0;
  for (std::size_t t = 0; t < tdiSettings(line); ++t) {
    radiometry.prnu.push_back(responses(pixels, stages, random));
    radiometry.dsnu.push_back(darkSignals(pixels, stages, random));
    stages *= 2.0;
  }
  radiometry.left = curve(40.0 + 2.0 * place);
  radiometry.right = curve(-25.0 - 3.0 * place);
  return radiometry;
}

}  // namespace simulation
