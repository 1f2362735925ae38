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

/// What a `Surface` shares: one height, a raster or a source of the host, and its system.
class SurfaceSource {
public:
  SurfaceSource(CoordinateSystem system, double height);
  explicit SurfaceSource(std::shared_ptr<dsm::RasterElevationSource const> raster);
  SurfaceSource(std::shared_ptr<dsm::ProjectedElevationSource const> source, Surface::HeightRange const& heights,
                double spacing);

  CoordinateSystem const& system() const { return mSystem; }
  /// Whether the host made it.
  bool isOfHost() const { return mOfHost != nullptr; }
  /// At which its heights may rise and fall again, in the horizontal unit of the system.
  double spacing() const { return mSpacing; }
  /// Null for other surfaces.
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
  std::shared_ptr<dsm::ProjectedElevationSource const> mOfHost;
  Surface::HeightRange mHeights{};  // of the host's source
  double mSpacing = 0.0;
};

}  // namespace kes::detail
