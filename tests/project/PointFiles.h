// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <sensor/GroundPointList.h>
#include <sensor/ImagePointList.h>

#include <ostream>
#include <string>
#include <vector>

namespace geo {

inline bool operator==(GroundPoint const& a, GroundPoint const& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z && a.id == b.id && a.sx == b.sx && a.sy == b.sy && a.sz == b.sz &&
         a.type == b.type;
}

inline bool operator==(ImagePoint const& a, ImagePoint const& b) {
  return a.x == b.x && a.y == b.y && a.id == b.id && a.sx == b.sx && a.sy == b.sy && a.active == b.active;
}

inline void PrintTo(GroundPoint const& p, std::ostream* out) {
  *out << '"' << p.id << "\" " << p.x << ' ' << p.y << ' ' << p.z << ' ' << p.sx << ' ' << p.sy << ' ' << p.sz << ' '
       << p.type;
}

inline void PrintTo(ImagePoint const& p, std::ostream* out) {
  *out << '"' << p.id << "\" " << p.x << ' ' << p.y << ' ' << p.sx << ' ' << p.sy << ' ' << p.active;
}

}  // namespace geo

namespace test {

/// A ground point in the order in which a file has its fields.
inline geo::GroundPoint ground(std::string const& id, double x, double y, double z, double sx = 0, double sy = 0,
                               double sz = 0, std::int32_t type = 0) {
  return {x, y, z, id, sx, sy, sz, type};
}

/// An image point in the order in which a file has its fields.
inline geo::ImagePoint image(std::string const& id, double x, double y, double sx, double sy, bool active) {
  return {x, y, id, sx, sy, active};
}

/// The points of a file with this text.
inline std::vector<geo::GroundPoint> groundPointsIn(std::string const& text) {
  TempFolder const folder;
  return sensor::GroundPointList(folder.file("points.gpt", text)).points();
}

inline std::vector<geo::ImagePoint> imagePointsIn(std::string const& text) {
  TempFolder const folder;
  return sensor::ImagePointList(folder.file("points.ipt", text), "S1", "PANN00A").points();
}

}  // namespace test
