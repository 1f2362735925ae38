// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/EopDescription.h"

#include "shared/Numbers.h"
#include "shared/Strip.h"

namespace tool {

namespace {

std::string textOf(Json const& value) {
  return text(value.get<double>());
}

}  // namespace

Json describe(sensor::EOPData const& eop) {
  TimeSpan const span = spanOf(eop);
  geo::XYZPoint const& anchor = eop.anchorPoint();
  return {{"version", eop.eopVersion()},
          {"records", eop.numSets()},
          {"start", span.start},
          {"end", span.end},
          {"frequency", eop.frequency()},
          {"anchor", {{"longitude", anchor.x * degrees}, {"latitude", anchor.y * degrees}, {"height", anchor.z}}}};
}

void addAnchor(Listing& listing, Json const& anchor) {
  listing.add("anchor longitude", textOf(anchor["longitude"]) + " deg");
  listing.add("anchor latitude", textOf(anchor["latitude"]) + " deg");
  if (anchor.contains("height")) {
    listing.add("anchor height", textOf(anchor["height"]) + " m");
  }
}

void addSpan(Listing& listing, Json const& description) {
  listing.add("start", textOf(description["start"]) + " s");
  listing.add("end", textOf(description["end"]) + " s");
}

void addHeights(Listing& listing, Json const& description) {
  Json const& heights = description["heights"];
  listing.add("heights", textOf(heights["minimum"]) + " m to " + textOf(heights["maximum"]) + " m");
}

}  // namespace tool
