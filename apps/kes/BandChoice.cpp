#include "BandChoice.h"

#include <sensor/KESStripModel.h>

#include <stdexcept>

namespace kes {

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

void BandChoice::requireAll() const {
  for (std::string const& id : mIds) {
    if (mKnown.count(id) == 0) {
      std::string known;
      for (std::string const& other : mKnown) {
        known.append(known.empty() ? "" : ", ").append(other);
      }
      throw std::runtime_error("no band \"" + id + "\" in the strip" +
                               (mStrips == 1 ? ", which has " : "s, which have ") + known);
    }
  }
}

}  // namespace kes
