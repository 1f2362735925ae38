// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

#include <string>

namespace geo {

/// A unit of measure of a coordinate system's axis. An immutable value; threads may share it.
class KESPLATFORM_EXPORT units {
public:
  /// `name` as the coordinate system's definition has it ("metre", "US survey foot", "degree"), `scale` in metres.
  units(std::string name, double scale);
  units(units const&) = default;
  units& operator=(units const&) = default;
  virtual ~units();

  /// The size of one unit in metres. For a unit of angle it is the length of that angle along the equator of the
  /// ellipsoid: 6378137 for the radian on WGS 84.
  virtual double getScale() const;
  /// The unit's name.
  virtual std::string const& name() const;

private:
  std::string mName;
  double mScale;
};

}  // namespace geo
