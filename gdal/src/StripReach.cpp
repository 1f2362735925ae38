// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripReach.h"

#include <geo/XYPoint.h>
#include <sensor/KESStripModel.h>

#include <cmath>

namespace kesgdal {

namespace {

// Lines of sight are known from the ground up to this part of the flying height: all higher, they meet in the camera.
constexpr double topPart = 0.75;
// As far below the mean terrain as the flight is above it.
constexpr double bottomPart = -1.0;
// Pixels, for lines of sight between whole lines and samples, and for the solver's tolerance.
constexpr double slack = 2.0;

}  // namespace

StripReach::StripReach(sensor::KESStripModel const& strip, int band, double margin) {
  double const terrain = strip.meanTerrainHeight();
  double const flight = strip.meanFlyingHeight() - terrain;
  mBottom = static_cast<double>(static_cast<float>(terrain + bottomPart * flight));
  mHeight = static_cast<double>(static_cast<float>(terrain + topPart * flight)) - mBottom;
  auto const azimuth = static_cast<double>(strip.flightAzimuth());
  mCosine = std::sin(azimuth);
  mSine = std::cos(azimuth);
  double const around = margin + slack;
  double const lastSample = static_cast<double>(strip.imageWidth(band)) - 1.0 + around;
  double const lastLine = static_cast<double>(strip.imageHeight(band)) - 1.0 + around;
  for (double line = -around; line < lastLine + 1.0; line += 1.0) {
    add(strip, band, -around, line);
    add(strip, band, lastSample, line);
  }
  for (double sample = -around; sample < lastSample + 1.0; sample += 1.0) {
    add(strip, band, sample, -around);
    add(strip, band, sample, lastLine);
  }
}

void StripReach::add(sensor::KESStripModel const& strip, int band, double sample, double line) {
  geo::XYZPoint local;
  strip.imageToLsr({sample, line}, static_cast<float>(mBottom), band, local);
  mAlong.bottom.add(mCosine * local.x + mSine * local.y);
  mAcross.bottom.add(mCosine * local.y - mSine * local.x);
  strip.imageToLsr({sample, line}, static_cast<float>(mBottom + mHeight), band, local);
  mAlong.top.add(mCosine * local.x + mSine * local.y);
  mAcross.top.add(mCosine * local.y - mSine * local.x);
}

}  // namespace kesgdal
