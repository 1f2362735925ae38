// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "geo/SharedOperation.h"

#include <geo/coordSys.h>
#include <geo/units.h>

#include <memory>
#include <string>

namespace geo {

/// Any coordinate reference system that PROJ relates to WGS 84.
class ProjSystem final : public coordSys {
public:
  struct Parts {
    std::string definition;
    units horizontal;
    units vertical;
    /// From the system, with x east and y north, to WGS 84 longitude and latitude in degrees and ellipsoidal height.
    std::shared_ptr<SharedOperation const> operation;
  };
  explicit ProjSystem(Parts parts);

  units const& verticalUnits() const override;
  units const& horizontalUnits() const override;
  QDomElement toXml(QDomDocument& document) const override;
  Conversion conversionAt(XYZPoint const& position) const override;

private:
  void toGeodetic(XYZPoint* points, std::size_t n) const override;
  void fromGeodetic(XYZPoint* points, std::size_t n) const override;
  void run(PJ_DIRECTION direction, XYZPoint* points, std::size_t n) const noexcept;

  Parts mParts;
};

}  // namespace geo
