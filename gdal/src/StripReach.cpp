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

// The lines reach farther than those of the front door, which ends at `kes::Band::lineMargin`.
StripReach::StripReach(kes::Band const& band, double margin) {
  sensor::KESStripModel const& strip = band.model();
  double const terrain = strip.meanTerrainHeight();
  double const flight = strip.meanFlyingHeight() - terrain;
  mBottom = static_cast<double>(static_cast<float>(terrain + bottomPart * flight));
  mHeight = static_cast<double>(static_cast<float>(terrain + topPart * flight)) - mBottom;
  auto const azimuth = static_cast<double>(strip.flightAzimuth());
  mCosine = std::sin(azimuth);
  mSine = std::cos(azimuth);
  double const around = margin + slack;
  double const lastSample = band.samples() - 1.0 + around;
  double const lastLine = band.lines() - 1.0 + around;
  for (double line = -around; line < lastLine + 1.0; line += 1.0) {
    add(band, -around, line);
    add(band, lastSample, line);
  }
  for (double sample = -around; sample < lastSample + 1.0; sample += 1.0) {
    add(band, sample, -around);
    add(band, sample, lastLine);
  }
}

void StripReach::add(kes::Band const& band, double sample, double line) {
  sensor::KESStripModel const& strip = band.model();
  geo::XYZPoint local;
  strip.imageToLsr({sample, line}, static_cast<float>(mBottom), band.index(), local);
  mAlong.bottom.add(mCosine * local.x + mSine * local.y);
  mAcross.bottom.add(mCosine * local.y - mSine * local.x);
  strip.imageToLsr({sample, line}, static_cast<float>(mBottom + mHeight), band.index(), local);
  mAlong.top.add(mCosine * local.x + mSine * local.y);
  mAcross.top.add(mCosine * local.y - mSine * local.x);
}

}  // namespace kesgdal
