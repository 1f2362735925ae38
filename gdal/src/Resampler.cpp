// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Resampler.h"

#include "SourceTiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kesgdal {

namespace {

constexpr double halfPixel = 0.5;

double radiusOf(Resampling resampling) {
  switch (resampling) {
  case Resampling::NEAREST:
    return 0.0;
  case Resampling::BILINEAR:
    return 1.0;
  case Resampling::CUBIC:
    break;
  }
  return 2.0;
}

// Of a distance, 0 or more.
double triangle(double d) {
  return std::max(1.0 - d, 0.0);
}

double cubic(double d) {
  double const near = (1.5 * d - 2.5) * d * d + 1.0;
  double const far = ((2.5 - 0.5 * d) * d - 4.0) * d + 2.0;
  double const outer = d < 2.0 ? far : 0.0;
  return d < 1.0 ? near : outer;
}

// Weights of pixels by the distances of their centres from a position; returns their sum.
template <class Function>
double weigh(double firstDistance, double step, std::vector<double>& weights, Function const& function) {
  double const perPixel = 1.0 / step;
  double sum = 0.0;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    weights[i] = function(std::abs(firstDistance + static_cast<double>(i)) * perPixel);
    sum += weights[i];
  }
  return sum;
}

// The sum over rows and columns of pixels, each times its weights; `columns` has room for a sum of each column.
template <class Columns>
double weightedSum(double const* pixels, std::ptrdiff_t rowStep, std::vector<double> const& weightsX,
                   std::vector<double> const& weightsY, Columns& columns) {
  std::fill(columns.begin(), columns.end(), 0.0);
  for (double const weight : weightsY) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      columns[i] += weight * pixels[i];
    }
    pixels += rowStep;
  }
  double sum = 0.0;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    sum += weightsX[i] * columns[i];
  }
  return sum;
}

}  // namespace

// As many centres may lie in an open interval of twice the reach.
Resampler::Axis::Axis(double pixels, double radius)
    : step(std::max(pixels, 1.0)), reach(radius * step), weights(static_cast<std::size_t>(std::ceil(2.0 * reach))) {}

int Resampler::Axis::first(double position) const {
  return static_cast<int>(std::floor(position - halfPixel - reach)) + 1;
}

Resampler::Resampler(Resampling resampling, double samplesPerPixel, double linesPerPixel)
    : mResampling(resampling), mX(samplesPerPixel, radiusOf(resampling)), mY(linesPerPixel, radiusOf(resampling)),
      mColumns(mX.taps()) {}

double Resampler::operator()(ImageWindow const& window, double x, double y) {
  if (mResampling == Resampling::NEAREST) {
    return *window.at(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)));
  }
  double const value = mean(window, x, y);
  return std::isnan(value) ? meanOfData(window, x, y) : value;
}

// NaN when any of the pixels is.
double Resampler::mean(ImageWindow const& window, double x, double y) {
  int const column = mX.first(x);
  int const row = mY.first(y);
  double const dx = column + halfPixel - x;
  double const dy = row + halfPixel - y;
  double const weights = mResampling == Resampling::CUBIC
                             ? weigh(dx, mX.step, mX.weights, cubic) * weigh(dy, mY.step, mY.weights, cubic)
                             : weigh(dx, mX.step, mX.weights, triangle) * weigh(dy, mY.step, mY.weights, triangle);
  double const* const pixels = window.at(column, row);
  std::ptrdiff_t const rowStep = window.box.columns;
  auto const sum = [&](auto& columns) { return weightedSum(pixels, rowStep, mX.weights, mY.weights, columns); };
  // Sums of few columns stay in registers.
  std::array<double, 4> four;
  std::array<double, 5> five;
  std::array<double, 6> six;
  switch (mX.taps()) {
  case four.size():
    return sum(four) / weights;
  case five.size():
    return sum(five) / weights;
  case six.size():
    return sum(six) / weights;
  default:
    return sum(mColumns) / weights;
  }
}

double Resampler::meanOfData(ImageWindow const& window, double x, double y) const {
  if (std::isnan(*window.at(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y))))) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  double sum = 0.0;
  double weights = 0.0;
  int const column = mX.first(x);
  int const row = mY.first(y);
  for (int j = row; j < row + static_cast<int>(mY.taps()); ++j) {
    double const weightY = triangle(std::abs(j + halfPixel - y) / mY.step);
    for (int i = column; i < column + static_cast<int>(mX.taps()); ++i) {
      double const value = *window.at(i, j);
      if (!std::isnan(value)) {
        double const weight = weightY * triangle(std::abs(i + halfPixel - x) / mX.step);
        sum += weight * value;
        weights += weight;
      }
    }
  }
  return sum / weights;
}

}  // namespace kesgdal
