// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripReach.h"

#include <geo/XYPoint.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
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
  mAcross.x = -std::cos(azimuth);
  mAcross.y = std::sin(azimuth);
  mAlongFirst = acrossLine(band, 0.0);
  mAlongLast = acrossLine(band, band.lines() - 1.0);
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

bool StripReach::excludes(std::span<geo::XYZPoint const> corners) const {
  auto const part = [&](geo::XYZPoint const& local) { return (local.z - mBottom) / mHeight; };
  auto const all = [&](auto const& test) { return std::all_of(corners.begin(), corners.end(), test); };
  if (!all([&](geo::XYZPoint const& local) { return part(local) >= 0.0 && part(local) <= 1.0; })) {
    return false;
  }
  for (Limits const* const limits : {&mAcross, &mAlongFirst, &mAlongLast}) {
    if (all([&](geo::XYZPoint const& local) { return limits->isBefore(local, part(local)); }) ||
        all([&](geo::XYZPoint const& local) { return limits->isAfter(local, part(local)); })) {
      return true;
    }
  }
  return false;
}

// The direction across what a line sees at the bottom.
StripReach::Limits StripReach::acrossLine(kes::Band const& band, double line) const {
  geo::XYZPoint first;
  geo::XYZPoint last;
  band.model().imageToLsr({0.0, line}, static_cast<float>(mBottom), band.index(), first);
  band.model().imageToLsr({band.samples() - 1.0, line}, static_cast<float>(mBottom), band.index(), last);
  Limits limits;
  limits.x = first.y - last.y;
  limits.y = last.x - first.x;
  return limits;
}

void StripReach::add(kes::Band const& band, double sample, double line) {
  geo::XYZPoint bottom;
  geo::XYZPoint top;
  band.model().imageToLsr({sample, line}, static_cast<float>(mBottom), band.index(), bottom);
  band.model().imageToLsr({sample, line}, static_cast<float>(mBottom + mHeight), band.index(), top);
  for (Limits* const limits : {&mAcross, &mAlongFirst, &mAlongLast}) {
    limits->bottom.add(limits->at(bottom));
    limits->top.add(limits->at(top));
  }
}

}  // namespace kesgdal
