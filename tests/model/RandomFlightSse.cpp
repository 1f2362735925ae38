#include "RandomFlight.h"

#ifdef __SSE4_1__
#include "model/SseLanes.h"
#else
#include "model/PlainLanes.h"
#endif

namespace test {

#ifdef __SSE4_1__
using Lanes = sensor::SseLanes;
#else
using Lanes = sensor::PlainLanes;
#endif

void solveInSseLanes(RandomFlight const& flight, std::vector<geo::XYZPoint> const& ground,
                     std::vector<geo::XYPoint>& image) {
  sensor::solveFourLanes<Lanes>(flight.constants(), flight, ground.data(), ground.size(), image.data());
}

}  // namespace test
