// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/Spectrum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using tool::Octave;
using tool::octavesOf;
using tool::Window;

std::vector<double> sine(std::size_t count, double frequency, double rate) {
  std::vector<double> values;
  for (std::size_t i = 0; i < count; ++i) {
    values.push_back(7.0 + std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
  }
  return values;
}

double variance(std::vector<Octave> const& octaves) {
  double sum = 0.0;
  for (Octave const& octave : octaves) {
    sum += octave.deviation * octave.deviation;
  }
  return sum;
}

// 512 values at 64 Hz: 32, 16, ..., 0.25 and 0.125 Hz, of which the last is the lowest frequency.
TEST(Spectrum, OctavesGoFromHalfTheRateDownToTheSpan) {
  std::vector<Octave> const octaves = octavesOf(sine(512, 5.0, 64.0), 64.0, Window::none);
  ASSERT_EQ(octaves.size(), 8U);
  double to = 32.0;
  for (Octave const& octave : octaves) {
    EXPECT_EQ(octave.to, to);
    EXPECT_EQ(octave.from, &octave == &octaves.back() ? 0.0 : 0.5 * to);
    to *= 0.5;
  }
}

TEST(Spectrum, SineStandsInItsOctaveWithItsVariance) {
  for (Window const window : {Window::none, Window::hann}) {
    for (Octave const& octave : octavesOf(sine(512, 5.0, 64.0), 64.0, window)) {
      bool const isIn = octave.from < 5.0 && octave.to >= 5.0;
      EXPECT_NEAR(octave.deviation, isIn ? 1.0 / std::numbers::sqrt2 : 0.0, 1e-12) << octave.to;
    }
  }
}

// 5.06 Hz doesn't end where it began; the ends of its span would be seen in all octaves.
TEST(Spectrum, WindowKeepsTheEndsOutOfOtherOctaves) {
  std::vector<double> const values = sine(512, 5.06, 64.0);
  double const without = octavesOf(values, 64.0, Window::none).front().deviation;
  double const with = octavesOf(values, 64.0, Window::hann).front().deviation;
  EXPECT_GT(without, 1e-2);
  EXPECT_LT(with, 1e-4);
}

TEST(Spectrum, VarianceIsThatOfTheValues) {
  EXPECT_NEAR(variance(octavesOf({1.0, 4.0, -2.0, 5.0, 0.0, 3.0}, 1.0, Window::none)),
              (1.0 + 16.0 + 4.0 + 25.0 + 0.0 + 9.0) / 6.0 - 11.0 * 11.0 / 36.0, 1e-12);
}

// A transform of that many values would take hours.
TEST(Spectrum, PrimeNumberOfValuesIsShortened) {
  EXPECT_NEAR(variance(octavesOf(sine(2000003, 5.0, 64.0), 64.0, Window::none)), 0.5, 1e-4);
}

TEST(Spectrum, FewValuesHaveNone) {
  EXPECT_TRUE(octavesOf({}, 10.0, Window::hann).empty());
  EXPECT_TRUE(octavesOf({1.0}, 10.0, Window::hann).empty());
  EXPECT_TRUE(octavesOf({1.0, 2.0}, std::nan(""), Window::none).empty());
}

}  // namespace
