// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/ProjectedElevationSource.h>

namespace dsm {

/// A surface of one height everywhere, such as the mean height of a flat region or the level of a sea.
class KESPLATFORM_EXPORT ConstantElevationSource final : public ProjectedElevationSource {
public:
  /// `height` in the vertical unit of `coordSystem`, which the caller owns and keeps as long as the source. Throws
  /// std::runtime_error "elevation source without a coordinate system", "height of an elevation source isn't finite".
  ConstantElevationSource(geo::coordSys const* coordSystem, float height);

  /// The height; false at a position whose x or y isn't finite.
  bool height(geo::XYZPoint const& position, float& height) const override;

private:
  float mHeight;
};

}  // namespace dsm
