// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "NodeSpacing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kesadjust {

namespace {

constexpr double leastSpacing = 1.0;      // seconds
constexpr double greatestSpacing = 10.0;  // seconds
constexpr double partOfNoise = 1.0 / 3.0;

double squared(double value) {
  return value * value;
}

/// Of the bridge between two nodes, per second between them.
double variancePerSecond(GaussMarkovPrior const& prior) {
  return squared(prior.sigma) / (2.0 * prior.correlationTime);
}

}  // namespace

StripView StripView::of(kes::Strip const& strip) {
  StripView view{strip.meanFlyingHeight() - strip.meanTerrainHeight(), std::numeric_limits<double>::infinity(), 0.0};
  for (int i = 0; i < strip.bandCount(); ++i) {
    kes::Band const band = strip.band(i);
    view.groundPixel = std::min(view.groundPixel, band.gsd());
    double const edge = 0.5 * band.samples() * band.gsd() / view.distance;
    double const across = squared(edge) / 3.0;  // mean over the line
    view.tangents += 0.5 * (squared(std::tan(band.lookAngle())) + across) / strip.bandCount();
  }
  return view;
}

double nodeSpacing(std::array<GaussMarkovPrior, 6> const& priors, StripView const& view, double noise) {
  std::array<double, 6> w{};
  std::transform(priors.begin(), priors.end(), w.begin(), variancePerSecond);
  double const position = 0.5 * (w[0] + w[1]) + view.tangents * w[2];
  double const attitude = 0.5 * (w[3] + w[4]) + view.tangents * w[5];
  double const image = (position + squared(view.distance) * attitude) / squared(view.groundPixel);
  double const spacing = squared(partOfNoise * noise) / image;
  // What isn't a number counts as the greatest.
  return spacing < greatestSpacing ? std::max(spacing, leastSpacing) : greatestSpacing;
}

}  // namespace kesadjust
