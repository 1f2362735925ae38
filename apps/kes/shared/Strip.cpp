// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Strip.h"

#include <stdexcept>
#include <vector>

namespace tool {

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

TimeSpan spanOf(sensor::EOPData const& eop) {
  sensor::EOP first;
  sensor::EOP last;
  eop.atIndex(0, first);
  eop.atIndex(eop.numSets() - 1, last);
  return {first.gpsTime, last.gpsTime};
}

}  // namespace tool
