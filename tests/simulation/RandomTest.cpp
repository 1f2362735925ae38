// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Random.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

namespace {

using simulation::Random;

constexpr int count = 20000;
constexpr double limit = 5.0 / 141.0;  // five standard deviations of the mean of 20000 products of unit variance

std::vector<double> normals(std::uint64_t seed, std::uint64_t stream) {
  Random random(seed, stream);
  std::vector<double> values;
  for (int i = 0; i < count; ++i) {
    values.push_back(random.normal(1.0));
  }
  return values;
}

double correlation(std::vector<double> const& a, std::vector<double> const& b, std::size_t shift) {
  double sum = 0.0;
  for (std::size_t i = shift; i < a.size(); ++i) {
    sum += a[i - shift] * b[i];
  }
  return sum / static_cast<double>(a.size() - shift);
}

// Neighbouring streams neither have the same numbers nor the same ones a little later.
TEST(Random, StreamsDontDependOnOneAnother) {
  std::vector<double> const first = normals(7, 201);
  for (std::uint64_t const stream : {202U, 203U, 213U}) {
    std::vector<double> const other = normals(7, stream);
    for (std::size_t shift = 0; shift < 20; ++shift) {
      EXPECT_NEAR(correlation(first, other, shift), 0.0, limit) << "stream " << stream << " shift " << shift;
      EXPECT_NEAR(correlation(other, first, shift), 0.0, limit) << "stream " << stream << " shift " << shift;
    }
  }
  EXPECT_NEAR(correlation(first, normals(8, 201), 0), 0.0, limit) << "another seed";
}

}  // namespace
