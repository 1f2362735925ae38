// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Resampler.h"

#include "SourceTiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

namespace {

using kesgdal::ImageWindow;
using kesgdal::Resampler;
using kesgdal::Resampling;

double const nothing = std::nan("");

// Keys's function for a = -1/2, of a distance.
double keys(double d) {
  constexpr double a = -0.5;
  double const s = std::abs(d);
  if (s < 1.0) {
    return (a + 2.0) * s * s * s - (a + 3.0) * s * s + 1.0;
  }
  return s < 2.0 ? a * s * s * s - 5.0 * a * s * s + 8.0 * a * s - 4.0 * a : 0.0;
}

double triangle(double d) {
  return std::abs(d) < 1.0 ? 1.0 - std::abs(d) : 0.0;
}

// A window of noise, which begins beside the image's first pixel.
ImageWindow noise(int columns, int rows) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> brightness(100.0, 900.0);
  ImageWindow window{{-3, 20, columns, rows}, {}};
  for (int i = 0; i < columns * rows; ++i) {
    window.pixels.push_back(brightness(random));
  }
  return window;
}

double& pixelOf(ImageWindow& window, int column, int row) {
  return window
      .pixels[static_cast<std::size_t>((row - window.box.top) * window.box.columns + column - window.box.left)];
}

// The mean of all pixels that aren't NaN, by a function of their distances, which are divided by the steps.
double meanBy(std::function<double(double)> const& function, ImageWindow& window, double x, double y,
              double stepX = 1.0, double stepY = 1.0) {
  double sum = 0.0;
  double weights = 0.0;
  for (int row = window.box.top; row < window.box.top + window.box.rows; ++row) {
    for (int column = window.box.left; column < window.box.left + window.box.columns; ++column) {
      double const value = pixelOf(window, column, row);
      double const weight = function((column + 0.5 - x) / stepX) * function((row + 0.5 - y) / stepY);
      sum += std::isnan(value) ? 0.0 : weight * value;
      weights += std::isnan(value) ? 0.0 : weight;
    }
  }
  return sum / weights;
}

// Positions in all parts of a pixel, its centre and edges among them.
void forPositions(std::function<void(double, double)> const& check) {
  for (double const x : {7.0, 7.1, 7.49, 7.5, 7.51, 7.9999}) {
    for (double const y : {31.0, 31.25, 31.5, 31.75, 31.999}) {
      check(x, y);
    }
  }
}

TEST(Resampler, CubicIsKeyssConvolution) {
  ImageWindow window = noise(24, 24);
  Resampler resampler(Resampling::CUBIC, 1.0, 0.4);
  forPositions([&](double x, double y) {
    EXPECT_NEAR(resampler(window, x, y), meanBy(keys, window, x, y), 1e-10) << x << ' ' << y;
  });
}

TEST(Resampler, BilinearIsTheTriangle) {
  ImageWindow window = noise(24, 24);
  Resampler resampler(Resampling::BILINEAR, 0.9, 1.0);
  forPositions([&](double x, double y) {
    EXPECT_NEAR(resampler(window, x, y), meanBy(triangle, window, x, y), 1e-10) << x << ' ' << y;
  });
}

// Each axis by its own step; from three pixels to nine within reach.
TEST(Resampler, CoarserPixelsWidenTheFunction) {
  ImageWindow window = noise(24, 24);
  for (double const step : {1.2, 1.5, 1.7, 2.2}) {
    Resampler cubic(Resampling::CUBIC, step, 1.3);
    Resampler bilinear(Resampling::BILINEAR, 1.3, step);
    forPositions([&](double x, double y) {
      EXPECT_NEAR(cubic(window, x, y), meanBy(keys, window, x, y, step, 1.3), 1e-10) << step << ' ' << x << ' ' << y;
      EXPECT_NEAR(bilinear(window, x, y), meanBy(triangle, window, x, y, 1.3, step), 1e-10) << step;
    });
  }
}

TEST(Resampler, NearestIsThePixelAroundThePosition) {
  ImageWindow window = noise(24, 24);
  Resampler resampler(Resampling::NEAREST, 3.0, 3.0);
  forPositions([&](double x, double y) { EXPECT_EQ(resampler(window, x, y), pixelOf(window, 7, 31)); });
}

TEST(Resampler, PixelAroundThePositionDecidesAboutData) {
  ImageWindow window = noise(24, 24);
  pixelOf(window, 7, 31) = nothing;
  for (Resampling const resampling : {Resampling::NEAREST, Resampling::BILINEAR, Resampling::CUBIC}) {
    Resampler resampler(resampling, 1.0, 1.0);
    forPositions([&](double x, double y) { EXPECT_TRUE(std::isnan(resampler(window, x, y))) << x << ' ' << y; });
  }
}

// Of the others, those with data count; the negative weights of the cubic function don't.
TEST(Resampler, PixelsWithoutDataWithinReachLeaveTheTriangleOfTheOthers) {
  for (auto const& [column, row] : {std::pair(8, 31), std::pair(6, 30), std::pair(8, 32), std::pair(9, 33)}) {
    ImageWindow window = noise(24, 24);
    pixelOf(window, column, row) = nothing;
    Resampler cubic(Resampling::CUBIC, 1.5, 1.2);
    Resampler bilinear(Resampling::BILINEAR, 1.5, 1.2);
    for (auto const& [x, y] : {std::pair(7.6, 31.7), std::pair(7.3, 31.9)}) {
      double const expected = meanBy(triangle, window, x, y, 1.5, 1.2);
      EXPECT_NEAR(cubic(window, x, y), expected, 1e-10) << column << ' ' << row;
      EXPECT_NEAR(bilinear(window, x, y), expected, 1e-10) << column << ' ' << row;
    }
  }
}

// What a window has to have around positions.
TEST(Resampler, ReachIsTheFunctionsRadiusInPixelsOfTheImage) {
  Resampler const cubic(Resampling::CUBIC, 1.5, 0.7);
  EXPECT_EQ(cubic.reachX(), 3.0);
  EXPECT_EQ(cubic.reachY(), 2.0);
  Resampler const bilinear(Resampling::BILINEAR, 0.5, 2.5);
  EXPECT_EQ(bilinear.reachX(), 1.0);
  EXPECT_EQ(bilinear.reachY(), 2.5);
}

}  // namespace
