// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/ConstantElevationSource.h>
#include <dsm/RasterElevationSource.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <memory>
#include <optional>

namespace kes::detail {

/// What a `Surface` shares: either one height or a raster, and its system.
class SurfaceSource {
public:
  SurfaceSource(CoordinateSystem system, double height);
  explicit SurfaceSource(std::shared_ptr<dsm::RasterElevationSource const> raster);

  CoordinateSystem const& system() const { return mSystem; }
  /// Null for a surface of one height.
  dsm::RasterElevationSource const* raster() const { return mRaster.get(); }
  dsm::ProjectedElevationSource const& platform() const;
  double constantHeight() const { return mHeight; }
  /// The height at an x and y of the system; NaN without one.
  double height(geo::XYZPoint const& position) const;
  std::optional<Surface::HeightRange> heightRange() const;

private:
  CoordinateSystem mSystem;
  double mHeight = 0.0;
  std::shared_ptr<dsm::RasterElevationSource const> mRaster;
  std::unique_ptr<dsm::ConstantElevationSource const> mConstant;
};

}  // namespace kes::detail
