#include "model/LineSolver.h"

#include <sensor/KESStripModel.h>

namespace sensor {

void KESStripModel::lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  solveImage(ground, band, image);
}

int KESStripModel::solveImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  return solveLine(StripBand(*mData, band), ground, image, Unobserved());
}

void KESStripModel::lsrToImage(std::vector<geo::XYZPoint> const& ground, int band,
                               std::vector<geo::XYPoint>& image) const {
  if (!ground.empty()) {
    solveLines(StripBand(*mData, band), ground, image, Unobserved());
  }
}

}  // namespace sensor
