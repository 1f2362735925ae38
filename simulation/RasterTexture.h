// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/RasterElevationSource.h>
#include <simulation/Texture.h>

#include <string>

namespace simulation {

/// The first band of a raster, any that GDAL reads, in any coordinate reference system: values as they are, bilinear between
/// the cells' centres, and limited to 0 to 65535. Outside the raster, and where it has no data, the brightness is 0.
class RasterTexture final : public Texture {
public:
  /// Throws std::runtime_error "can't use texture FILE: " and the reason: it can't be opened, has no place on the ground, or a
  /// system that can't be related to WGS 84.
  explicit RasterTexture(std::string const& file);

  geo::coordSys const& coordSystem() const override { return *mRaster->coordSystem(); }
  /// Throws std::runtime_error "can't use texture FILE: " and the reason when the raster can't be read.
  double value(geo::XYZPoint const& position) const override;

private:
  std::string mFile;
  // A surface whose heights are the brightness: interpolation, tiles and threads are the same.
  std::unique_ptr<dsm::RasterElevationSource const> mRaster;
};

}  // namespace simulation
