// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/MeshHeight.h"

#include "dsm/RasterPlace.h"

namespace dsm {

bool heightBesideGap(std::array<float, 4> const& corners, double right, double down, float& height) {
  bool const isLeft = right <= 0.5 + EDGE_MARGIN;
  bool const isRight = right >= 0.5 - EDGE_MARGIN;
  bool const isUpper = down <= 0.5 + EDGE_MARGIN;
  bool const isLower = down >= 0.5 - EDGE_MARGIN;
  std::array<bool, 4> const isAround = {isLeft && isUpper, isRight && isUpper, isLeft && isLower, isRight && isLower};
  std::array<double, 4> const weights = {(1.0 - right) * (1.0 - down), right * (1.0 - down), (1.0 - right) * down,
                                         right * down};
  bool isOnSurface = false;
  double sum = 0.0;
  double weightSum = 0.0;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    if (!std::isnan(corners[i])) {
      isOnSurface = isOnSurface || isAround[i];
      sum += weights[i] * static_cast<double>(corners[i]);
      weightSum += weights[i];
    }
  }
  if (isOnSurface) {
    height = static_cast<float>(sum / weightSum);
  }
  return isOnSurface;
}

}  // namespace dsm
