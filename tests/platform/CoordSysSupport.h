// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <gtest/gtest.h>
#include <proj.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace test {

using System = std::unique_ptr<geo::coordSys>;

inline constexpr double PI = 3.14159265358979323846;
inline constexpr double DEGREE = PI / 180.0;
/// WGS 84: semi-major and semi-minor axis in metres.
inline constexpr double A84 = 6378137.0;
inline constexpr double B84 = A84 * (1.0 - 1.0 / 298.257223563);

inline System localSystem(geo::XYZPoint const& anchor) {
  return System(geo::coordSysFactory::getInstance()->createLSR84(anchor));
}

inline System geographic(bool degrees = false, bool latitudeFirst = false) {
  return System(geo::coordSysFactory::getInstance()->createGEO84(degrees, latitudeFirst));
}

inline System systemOf(std::string const& definition) {
  return System(geo::coordSysFactory::getInstance()->createCoordSys(definition));
}

/// `in` converted, which has to succeed.
inline geo::XYZPoint converted(System const& from, System const& to, geo::XYZPoint const& in) {
  geo::XYZPoint out;
  EXPECT_EQ(geo::coordSys::transform(from.get(), to.get(), in, out), 0) << in.x << " " << in.y << " " << in.z;
  return out;
}

inline bool isNowhere(geo::XYZPoint const& point) {
  return std::isnan(point.x) && std::isnan(point.y) && std::isnan(point.z);
}

inline bool sameBits(std::vector<geo::XYZPoint> const& a, std::vector<geo::XYZPoint> const& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(geo::XYZPoint)) == 0;
}

inline double distance(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

/// Seeded numbers; the same on every machine.
class Random {
public:
  explicit Random(std::uint64_t seed) : mEngine(seed) {}
  double between(double low, double high) {
    return low + (high - low) * (static_cast<double>(mEngine() >> 11U) * 0x1p-53);
  }
  /// Longitude, latitude (radians) and height (metres), even over the globe: near the poles there are few.
  geo::XYZPoint geodetic(double lowest, double highest) {
    return {between(-PI, PI), std::asin(between(-1.0, 1.0)), between(lowest, highest)};
  }

private:
  std::mt19937_64 mEngine;
};

/// Places all over the globe, the poles, the date line and their neighbourhood included.
inline std::vector<geo::XYZPoint> globe(std::uint64_t seed, std::size_t count, double lowest, double highest) {
  Random random(seed);
  std::vector<geo::XYZPoint> places = {
      {0.3, PI / 2, 100.0}, {-2.0, -PI / 2, 100.0},  {1.0, PI / 2 - 1e-9, 50.0}, {PI, 0.7, 20.0},
      {-PI, 0.7, 20.0},     {PI - 1e-10, -0.2, 0.0}, {1e-10 - PI, -0.2, 0.0},    {-1.2, 1e-9 - PI / 2, 3000.0},
      {0.0, 0.0, 0.0}};
  while (places.size() < count) {
    places.push_back(random.geodetic(lowest, highest));
  }
  return places;
}

/// An operation of PROJ itself, to compare with.
class ProjReference {
public:
  /// A pipeline, or another operation, with angles in radians.
  explicit ProjReference(std::string const& pipeline)
      : mContext(proj_context_create()), mOperation(proj_create(mContext, pipeline.c_str())) {}
  /// From one coordinate reference system to another, with x east and y north.
  ProjReference(std::string const& from, std::string const& to) : mContext(proj_context_create()) {
    PJ* const plain = proj_create_crs_to_crs(mContext, from.c_str(), to.c_str(), nullptr);
    mOperation = proj_normalize_for_visualization(mContext, plain);
    proj_destroy(plain);
  }
  ~ProjReference() {
    proj_destroy(mOperation);
    proj_context_destroy(mContext);
  }
  ProjReference(ProjReference const&) = delete;
  ProjReference& operator=(ProjReference const&) = delete;

  geo::XYZPoint forward(geo::XYZPoint const& in) const { return run(PJ_FWD, in); }
  geo::XYZPoint inverse(geo::XYZPoint const& in) const { return run(PJ_INV, in); }

private:
  geo::XYZPoint run(PJ_DIRECTION direction, geo::XYZPoint const& in) const {
    PJ_COORD const out = proj_trans(mOperation, direction, proj_coord(in.x, in.y, in.z, HUGE_VAL));
    return {out.xyz.x, out.xyz.y, out.xyz.z};
  }

  PJ_CONTEXT* mContext;
  PJ* mOperation = nullptr;
};

}  // namespace test
