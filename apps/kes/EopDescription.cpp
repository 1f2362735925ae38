#include "EopDescription.h"

#include "Strip.h"

namespace kes {

namespace {
constexpr double degrees = 57.29577951308232;
}

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

}  // namespace kes
