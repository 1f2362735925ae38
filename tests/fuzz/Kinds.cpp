// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace fuzz {

std::vector<Kind> const& kinds() {
  static std::vector<Kind> const all{{"eop", orientation},
                                     {"eop-block", parameterBlock},
                                     {"odf", lineOrientation},
                                     {"odf-merge", merge},
                                     {"support", supportFile},
                                     {"ctg", lineTimes},
                                     {"scanlines", lineSettings},
                                     {"cam", camCalibration},
                                     {"hdb00-geometry", xmlGeometry},
                                     {"hdb00-sensordata", xmlSensorData},
                                     {"hdb00-prnu", xmlPrnu},
                                     {"hdb00-dsnu", xmlDsnu},
                                     {"strip", strip},
                                     {"block", block},
                                     {"legacy", legacyFlight},
                                     {"gpt", groundPoints},
                                     {"ipt", imagePoints},
                                     {"csv", csvTable},
                                     {"stat", statistics},
                                     {"crs", coordinateSystem}};
  return all;
}

Kind const& kindOf(std::string_view name) {
  auto const found = std::find_if(kinds().begin(), kinds().end(), [&](Kind const& kind) { return kind.name == name; });
  if (found != kinds().end()) {
    return *found;
  }
  std::string names;
  for (Kind const& kind : kinds()) {
    names += " " + std::string(kind.name);
  }
  throw std::runtime_error("no kind \"" + std::string(name) + "\"; there are" + names);
}

}  // namespace fuzz
