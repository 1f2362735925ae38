// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/EopDescription.h"

#include "shared/Numbers.h"

#include <sensor/EOPData.h>

namespace tool {

EopDescription describe(sensor::EOPData const& eop) {
  sensor::EOP first;
  sensor::EOP last;
  eop.atIndex(0, first);
  eop.atIndex(eop.numSets() - 1, last);
  geo::XYZPoint const& anchor = eop.anchorPoint();
  return {
      eop.eopVersion(), eop.numSets(), {first.gpsTime, last.gpsTime}, eop.frequency(), {anchor.x, anchor.y, anchor.z}};
}

Json toJson(EopDescription const& eop) {
  kes::GeodeticPosition const& anchor = eop.anchor;
  return {{"version", eop.version},
          {"records", eop.records},
          {"start", eop.span.start},
          {"end", eop.span.end},
          {"frequency", eop.frequency},
          {"anchor",
           {{"longitude", anchor.longitude * degrees},
            {"latitude", anchor.latitude * degrees},
            {"height", anchor.height}}}};
}

Json toJson(HeightRange const& heights) {
  return {{"minimum", heights.lowest}, {"maximum", heights.highest}};
}

void addAnchor(Listing& listing, double longitude, double latitude, std::optional<double> height) {
  listing.add("anchor longitude", text(longitude * degrees) + " deg");
  listing.add("anchor latitude", text(latitude * degrees) + " deg");
  if (height) {
    listing.add("anchor height", text(*height) + " m");
  }
}

void addAnchor(Listing& listing, kes::GeodeticPosition const& anchor) {
  addAnchor(listing, anchor.longitude, anchor.latitude, anchor.height);
}

void addSpan(Listing& listing, TimeSpan const& span) {
  listing.add("start", text(span.start) + " s");
  listing.add("end", text(span.end) + " s");
}

void addHeights(Listing& listing, HeightRange const& heights) {
  listing.add("heights", text(heights.lowest) + " m to " + text(heights.highest) + " m");
}

}  // namespace tool
