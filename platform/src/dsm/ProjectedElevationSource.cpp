// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <dsm/ProjectedElevationSource.h>

#include <stdexcept>

namespace dsm {

ProjectedElevationSource::ProjectedElevationSource(geo::coordSys const* coordSystem) : mCoordSystem(coordSystem) {
  if (coordSystem == nullptr) {
    throw std::runtime_error("elevation source without a coordinate system");
  }
}

ProjectedElevationSource::~ProjectedElevationSource() = default;

}  // namespace dsm
