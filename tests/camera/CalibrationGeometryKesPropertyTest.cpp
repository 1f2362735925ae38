// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTables.h"
#include "support/Matchers.h"

#include <algorithm>
#include <cmath>
#include <random>

// Many seeded tables against the formulae, written here for one precision `Real` at a time, and against their inverse.

namespace {

using sensor::CalibrationGeometryKes;
using test::LineTable;
using test::SameBits;

// A lens's distortion: odd powers of the distance from the middle, a sample's width or so, of any sign.
LineTable lensTable(std::mt19937& random, int samples, int entries) {
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  double const cubic = 3e-4 * unit(random);
  double const quintic = 1e-4 * unit(random);
  double const tilt = 1e-5 * unit(random);
  double const bow = 1e-4 * unit(random);
  double const middle = 0.01 * unit(random);
  LineTable table{samples, {}, {}};
  for (int i = 0; i < entries; ++i) {
    double const u = 2.0 * i / (entries - 1) - 1.0;
    table.x.push_back(static_cast<float>(middle + tilt * u + bow * u * u));
    table.y.push_back(static_cast<float>(0.039 * u * (1.0 + u * u * (cubic + u * u * quintic))));
  }
  return table;
}

// Entries that rise by steps of any size, where the mean scale guesses badly.
LineTable roughTable(std::mt19937& random, int samples, int entries) {
  std::uniform_real_distribution<float> step(0.25F, 4.0F);
  LineTable table{samples, {}, {}};
  float y = -100.0F;
  for (int i = 0; i < entries; ++i) {
    table.x.push_back(step(random));
    table.y.push_back(y += step(random));
  }
  return table;
}

std::vector<LineTable> tablesOf(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<LineTable> tables{lensTable(random, 4000, 4000), lensTable(random, 4000, 100 + static_cast<int>(seed)),
                                roughTable(random, 300, 300), roughTable(random, 300, 10 + static_cast<int>(seed))};
  for (int i = 0; i < 4; ++i) {
    tables.push_back(tables[static_cast<std::size_t>(i)].reversed());
  }
  return tables;
}

float spacingOf(LineTable const& table) {
  return static_cast<float>(table.samples - 1) / static_cast<float>(table.y.size() - 1);
}

float scaleOf(LineTable const& table) {
  return (static_cast<float>(table.samples) - 1.0F) / (table.y.back() - table.y.front());
}

template <class Real>
Real coordinateByFormula(LineTable const& table, std::vector<float> const& entries, Real sample) {
  int const last = static_cast<int>(entries.size()) - 1;
  Real p = sample / static_cast<Real>(spacingOf(table));
  int i = static_cast<int>(p);
  int j = i + 1;
  if (i < 0 || p < 0 || j > last) {
    i = 0;
    j = last;
    p = sample / static_cast<Real>(table.samples - 1);
  }
  float const difference = entries[static_cast<std::size_t>(j)] - entries[static_cast<std::size_t>(i)];
  Real const w = p - static_cast<Real>(i);
  return static_cast<Real>(difference) * w + static_cast<Real>(entries[static_cast<std::size_t>(i)]);
}

template <class Real>
Real entriesBehind(LineTable const& table, Real y, int entry) {
  float const here = table.y[static_cast<std::size_t>(entry)];
  float const next = table.y[static_cast<std::size_t>(entry) + 1];
  return (y - static_cast<Real>(here)) / static_cast<Real>(next - here);
}

template <class Real>
Real sampleByFormula(LineTable const& table, Real y) {
  int const lastInterval = static_cast<int>(table.y.size()) - 2;
  auto const spacing = static_cast<Real>(spacingOf(table));
  Real const q = (y - static_cast<Real>(table.y[0])) * static_cast<Real>(scaleOf(table));
  if (q <= 0 || q >= static_cast<Real>(table.samples) - 1) {
    return q;
  }
  int const k = std::min(static_cast<int>(q / spacing), lastInterval);
  int m = k + static_cast<int>(entriesBehind(table, y, k));
  m = std::max(std::min(m, lastInterval), 0);
  return (entriesBehind(table, y, m) + static_cast<Real>(m)) * spacing;
}

// From a fifth of the line before its start to a fifth behind its end.
template <class Check>
void forSamples(LineTable const& table, Check check) {
  double const length = table.samples - 1.0;
  for (double sample = -0.2 * length; sample < 1.2 * length; sample += length / 239.0) {
    check(sample);
  }
}

class EverySeed : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(CalibrationGeometryKes, EverySeed, testing::Range(1U, 13U));

TEST_P(EverySeed, FocalPositionsFollowTheFormulaToTheBit) {
  for (LineTable const& table : tablesOf(GetParam())) {
    CalibrationGeometryKes const line = table.line();
    forSamples(table, [&](double sample) {
      geo::XYPoint const focal = test::focalOf(line, sample - 2.0, 2.0);
      EXPECT_THAT(focal.x, SameBits(coordinateByFormula(table, table.x, sample - 2.0 + 2.0)));
      EXPECT_THAT(focal.y, SameBits(coordinateByFormula(table, table.y, sample - 2.0 + 2.0)));
      auto const rounded = static_cast<float>(sample);
      EXPECT_THAT(line.x(rounded, 1, 2, 3), SameBits(coordinateByFormula(table, table.x, rounded + 2.0F)));
      EXPECT_THAT(line.y(rounded, 1, 2, 3), SameBits(coordinateByFormula(table, table.y, rounded + 2.0F)));
    });
  }
}

TEST_P(EverySeed, SamplesFollowTheFormulaToTheBit) {
  for (LineTable const& table : tablesOf(GetParam())) {
    CalibrationGeometryKes const line = table.line();
    double const start = static_cast<double>(table.y.front());
    double const step = (static_cast<double>(table.y.back()) - start) / (table.samples - 1.0);
    forSamples(table, [&](double sample) {
      double const y = start + step * sample;
      EXPECT_THAT(test::sampleOf(line, y, 2.0), SameBits(sampleByFormula(table, y) - 2.0));
      auto const rounded = static_cast<float>(y);
      EXPECT_THAT(test::floatSampleOf(line, rounded, 2.0F), SameBits(sampleByFormula(table, rounded) - 2.0F));
    });
  }
}

// The samples that the lens's tables give back, with the largest error in samples.
double roundTripError(LineTable const& table, bool inFloat) {
  CalibrationGeometryKes const line = table.line();
  double error = 0.0;
  double const end = table.samples - 1.0;
  for (double sample = 0.3; sample < end; sample += end / 997.0) {
    auto const rounded = static_cast<float>(sample);
    double const back = inFloat ? static_cast<double>(test::floatSampleOf(line, line.y(rounded, 0, 0, 0)))
                                : test::sampleOf(line, test::focalOf(line, sample).y);
    error = std::max(error, std::abs(back - (inFloat ? static_cast<double>(rounded) : sample)));
  }
  return error;
}

// A sample is 2e-5 wide and an entry has half of 3.7e-9 (a unit in the last place of 0.039) of rounding, so slopes of
// neighbours differ by up to 2e-4. A step back of less than an entry isn't taken, and then the neighbour's slope is
// used: that far off, at most. In single precision y and the sample are rounded besides, to 1e-4 and 1.2e-4.
TEST_P(EverySeed, LensTablesRoundTripWithinTheirRounding) {
  for (LineTable const& table : tablesOf(GetParam())) {
    if (table.samples == 4000) {
      EXPECT_LT(roundTripError(table, false), 4e-4);
      EXPECT_LT(roundTripError(table, true), 8e-4);
    }
  }
}

// A bend beyond what the lens's rounding makes of neighbours: forward corrections of whole entries, and exact entries.
TEST_P(EverySeed, GrowingStepsRoundTripExactly) {
  LineTable table{400, {}, {}};
  auto const growth = static_cast<float>(GetParam()) * 0x1p-16F;
  for (int i = 0; i < 400; ++i) {
    auto const number = static_cast<float>(i);
    table.x.push_back(0.0F);
    table.y.push_back(number - growth * number * (400.0F - number) * 0.0625F);
  }
  EXPECT_LT(roundTripError(table, false), 1e-2);
}

TEST_P(EverySeed, CutOutsKeepTheFocalPositionsOfTheirSamples) {
  for (LineTable const& table : tablesOf(GetParam())) {
    CalibrationGeometryKes const source = table.line();
    CalibrationGeometryKes const cut(source, 50, 101);
    for (int i = 0; i < 100; ++i) {
      auto const sample = static_cast<float>(i);
      EXPECT_THAT(cut.x(sample, 0, 0, 0), SameBits(source.x(sample, 0, 50.0F, 0)));
      EXPECT_THAT(cut.y(sample, 0, 0, 0), SameBits(source.y(sample, 0, 50.0F, 0)));
    }
    // The last sample comes by the way of the chord, first + (last - first), which rounds twice.
    float const first = source.y(0, 0, 50.0F, 0);
    float const last = source.y(100.0F, 0, 50.0F, 0);
    EXPECT_THAT(cut.y(100.0F, 0, 0, 0), SameBits((last - first) * 1.0F + first));
  }
}

}  // namespace
