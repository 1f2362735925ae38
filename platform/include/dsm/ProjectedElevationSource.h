// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <util/kesplatform_export.h>

namespace geo {
class coordSys;
}

/// Surfaces of the Earth: where the height of the terrain comes from.
namespace dsm {

/// A surface that has one height at each position, given in a coordinate system of its own.
///
/// A source never changes once it is made: any number of threads may ask one source at the same time. A host that
/// brings a source of its own keeps to that.
class KESPLATFORM_EXPORT ProjectedElevationSource {
public:
  virtual ~ProjectedElevationSource();
  ProjectedElevationSource(ProjectedElevationSource const&) = delete;
  ProjectedElevationSource& operator=(ProjectedElevationSource const&) = delete;

  /// The height of the surface at the x and y of `position`, whose z doesn't count; both in `coordSystem()` and its
  /// units. Gives true, or false with `height` untouched where the surface has no height.
  virtual bool height(geo::XYZPoint const& position, float& height) const = 0;

  /// The system of positions and heights. Lives as long as the source.
  geo::coordSys const* coordSystem() const { return mCoordSystem; }

protected:
  /// The source doesn't own `coordSystem`. Throws std::runtime_error "elevation source without a coordinate system" on
  /// a null pointer.
  explicit ProjectedElevationSource(geo::coordSys const* coordSystem);

private:
  geo::coordSys const* mCoordSystem;
};

}  // namespace dsm
