#include "Strip.h"

#include <stdexcept>

namespace kes {

void StripOptions::addTo(CLI::App& command) {
  command.add_option("STRIP", file, "Strip file")->required();
  camera.addTo(command);
}

int bandIndex(sensor::KESStripModel const& strip, std::string const& bandId) {
  int const index = strip.bandIndex(bandId);
  if (index < 0) {
    std::vector<std::string> known;
    strip.bandIDs(known);
    std::string list;
    for (std::string const& id : known) {
      list += (list.empty() ? "" : ", ") + id;
    }
    throw std::runtime_error("no band \"" + bandId + "\" in the strip, which has " + list);
  }
  return index;
}

std::vector<int> bandIndices(sensor::KESStripModel const& strip, std::vector<std::string> const& bandIds) {
  std::vector<int> indices;
  if (bandIds.empty()) {
    for (int band = 0; band < strip.numBands(); ++band) {
      indices.push_back(band);
    }
  }
  for (std::string const& bandId : bandIds) {
    indices.push_back(bandIndex(strip, bandId));
  }
  return indices;
}

TimeSpan spanOf(sensor::EOPData const& eop) {
  sensor::EOP first;
  sensor::EOP last;
  eop.atIndex(0, first);
  eop.atIndex(eop.numSets() - 1, last);
  return {first.gpsTime, last.gpsTime};
}

}  // namespace kes
