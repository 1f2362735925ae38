// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/StripCheck.h"

#include "shared/Numbers.h"
#include "shared/Strip.h"

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

void checkOrientation(sensor::EOPData const& eop, std::string const& place) {
  int outOfOrder = 0;
  int gaps = 0;
  double longest = 0.0;
  double longestAt = 0.0;
  sensor::EOP before;
  sensor::EOP record;
  eop.atIndex(0, before);
  for (int i = 1; i < eop.numSets(); ++i, before = record) {
    eop.atIndex(i, record);
    double const interval = record.gpsTime - before.gpsTime;
    outOfOrder += !(interval > 0.0);
    if (interval * eop.frequency() > longestPeriod) {
      ++gaps;
      longestAt = interval > longest ? before.gpsTime : longestAt;
      longest = std::max(longest, interval);
    }
  }
  if (outOfOrder > 0) {
    warn(place, std::to_string(outOfOrder) + " orientation records aren't later than the one before them");
  }
  if (gaps > 0) {
    warn(place, std::to_string(gaps) + " gaps in the orientation, the longest of " + text(longest) + " s behind " +
                    text(longestAt) + " s");
  }
}

void checkBand(sensor::KESStripModel const& strip, int band, std::string const& place) {
  sensor::KESImage const& image = *strip.img(band);
  TimeSpan const span = spanOf(*strip.eop());
  auto const& times = image.cameraTime()->values();
  auto const outside =
      std::count_if(times.begin(), times.end(), [&](double t) { return !(t >= span.start && t <= span.end); });
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

bool checkStrip(sensor::KESStripModel& strip, bool images, std::string const& place) {
  std::string message;
  if (!strip.modelData()->isDataValid(message, images)) {
    std::cout << place << message << (message.ends_with('\n') ? "" : "\n");
    return false;
  }
  strip.loadData(false, false);
  checkOrientation(*strip.eop(), place);
  for (int band = 0; band < strip.numBands(); ++band) {
    checkBand(strip, band, place);
  }
  return true;
}

}  // namespace tool
