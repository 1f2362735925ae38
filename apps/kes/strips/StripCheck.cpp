// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/StripCheck.h"

#include "shared/Numbers.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <algorithm>
#include <functional>
#include <iostream>

namespace tool {

namespace {

// An interval between two records of more than this many periods is a gap.
constexpr double longestPeriod = 1.5;

void warn(std::string const& place, std::string const& text) {
  std::cout << "warning: " << place << text << '\n';
}

void checkOrientation(kes::Trajectory const& trajectory, std::string const& place) {
  int outOfOrder = 0;
  int gaps = 0;
  double longest = 0.0;
  double longestAt = 0.0;
  double before = trajectory[0].time;
  for (std::size_t i = 1; i < trajectory.size(); ++i) {
    double const time = trajectory[i].time;
    double const interval = time - before;
    outOfOrder += !(interval > 0.0);
    if (interval * trajectory.frequency() > longestPeriod) {
      ++gaps;
      longestAt = interval > longest ? before : longestAt;
      longest = std::max(longest, interval);
    }
    before = time;
  }
  if (outOfOrder > 0) {
    warn(place, std::to_string(outOfOrder) + " orientation records aren't later than the one before them");
  }
  if (gaps > 0) {
    warn(place, std::to_string(gaps) + " gaps in the orientation, the longest of " + text(longest) + " s after " +
                    text(longestAt) + " s");
  }
}

void checkBand(kes::Strip const& strip, int band, std::string const& place) {
  sensor::KESImage const& image = *strip.model().img(band);
  kes::Trajectory const trajectory = strip.trajectory();
  double const start = trajectory.startTime();
  double const end = trajectory.endTime();
  auto const& times = image.cameraTime()->values();
  auto const outside = std::count_if(times.begin(), times.end(), [&](double t) { return !(t >= start && t <= end); });
  if (outside > 0) {
    warn(place, image.bandID() + ": " + std::to_string(outside) + " of " + std::to_string(times.size()) +
                    " lines lie outside the span of the orientation");
  }
  if (std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) != times.end()) {
    warn(place, image.bandID() + ": line times don't rise");
  }
  if (image.tdiData()->maximum() > 1.0F && !(image.integrationTime()->minimum() > 0.0F)) {
    warn(place, image.bandID() + ": TDI stages without an integration time");
  }
}

}  // namespace

bool checkStrip(kes::Strip& strip, bool images, std::string const& place) {
  std::string message;
  if (!strip.model().modelData()->isDataValid(message, images)) {
    std::cout << place << message << (message.ends_with('\n') ? "" : "\n");
    return false;
  }
  strip.load();
  checkOrientation(strip.trajectory(), place);
  for (int band = 0; band < strip.bandCount(); ++band) {
    checkBand(strip, band, place);
  }
  return true;
}

}  // namespace tool
