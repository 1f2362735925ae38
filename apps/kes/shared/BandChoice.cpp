// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/BandChoice.h"

#include <sensor/KESStripModel.h>

#include <stdexcept>

namespace tool {

std::vector<int> BandChoice::of(sensor::KESStripModel const& strip) {
  std::vector<std::string> ofStrip;
  strip.bandIDs(ofStrip);
  ++mStrips;
  mKnown.insert(ofStrip.begin(), ofStrip.end());
  std::vector<int> indices;
  for (std::string const& id : mIds.empty() ? ofStrip : mIds) {
    if (int const index = strip.bandIndex(id); index >= 0) {
      indices.push_back(index);
    }
  }
  return indices;
}

std::string BandChoice::knownIds() const {
  std::string ids;
  for (std::string const& id : mKnown) {
    ids.append(ids.empty() ? "" : ", ").append(id);
  }
  return ids;
}

void BandChoice::requireAll() const {
  for (std::string const& id : mIds) {
    if (mKnown.count(id) == 0) {
      std::string message = "no band \"" + id + "\" in the strip";
      message.append(mStrips == 1 ? ", which has " : "s, which have ").append(knownIds());
      throw std::runtime_error(message);
    }
  }
}

}  // namespace tool
