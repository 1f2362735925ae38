// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/UnknownPoints.h"

#include "points/Residuals.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <algorithm>

namespace tool {

std::vector<UnknownPoints::Measurement> UnknownPoints::add(kes::Strip const& strip, GroundPointIndex const& points) {
  std::vector<Measurement> found;
  for (int band = 0; band < strip.bandCount(); ++band) {
    sensor::KESImage const& image = *strip.model().img(band);
    sensor::ImagePointList const list(image.iptFileName(), strip.name(), image.bandID());
    for (geo::ImagePoint const& point : list.points()) {
      if (points.find(point.id) == nullptr) {
        found.push_back({image.bandID(), point.id});
        mFiles[point.id].insert(image.iptFileName());
      }
    }
  }
  return found;
}

bool UnknownPoints::isTie(std::string const& id) const {
  auto const files = mFiles.find(id);
  return files != mFiles.end() && files->second.size() > 1;
}

std::size_t UnknownPoints::tieCount() const {
  return static_cast<std::size_t>(
      std::count_if(mFiles.begin(), mFiles.end(), [](auto const& point) { return point.second.size() > 1; }));
}

std::string UnknownPoints::tieText(std::size_t count) {
  return "tie points: " + std::to_string(count) + ", each in two images or more";
}

std::string UnknownPoints::warning(Measurement const& measurement) {
  return measurement.band + ": point \"" + measurement.id + "\" isn't among the ground points";
}

}  // namespace tool
