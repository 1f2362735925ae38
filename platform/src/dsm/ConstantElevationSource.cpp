// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <dsm/ConstantElevationSource.h>

#include <cmath>
#include <stdexcept>

namespace dsm {

ConstantElevationSource::ConstantElevationSource(geo::coordSys const* coordSystem, float height)
    : ProjectedElevationSource(coordSystem), mHeight(height) {
  if (!std::isfinite(height)) {
    throw std::runtime_error("height of an elevation source isn't finite");
  }
}

bool ConstantElevationSource::height(geo::XYZPoint const& position, float& height) const {
  if (!std::isfinite(position.x) || !std::isfinite(position.y)) {
    return false;
  }
  height = mHeight;
  return true;
}

}  // namespace dsm
