// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/Wgs84.h"

#include <geo/coordSys.h>

#include <QDomDocument>
#include <QDomElement>

#include <algorithm>
#include <cmath>
#include <limits>

namespace geo {
namespace {

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr XYZPoint NOWHERE{NAN_VALUE, NAN_VALUE, NAN_VALUE};

/// Points per round of a long run, so that they stay in the processor's nearest cache between two conversions.
constexpr std::size_t ROUND = 512;

bool isFinite(XYZPoint const& point) {
  return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

/// Copies points; those that aren't finite in all members become NaN in all. Gives 0, or 1 when there were such.
int copyFinite(XYZPoint const* in, XYZPoint* out, std::size_t n) {
  int status = 0;
  for (std::size_t i = 0; i < n; ++i) {
    bool const finite = isFinite(in[i]);
    out[i] = finite ? in[i] : NOWHERE;
    status = finite ? status : 1;
  }
  return status;
}

}  // namespace

coordSys::coordSys() = default;
coordSys::~coordSys() = default;

std::string coordSys::definition() const {
  QDomDocument document;
  return toXml(document).attribute(QStringLiteral("definition")).toStdString();
}

int coordSys::transform(coordSys const* from, coordSys const* to, XYZPoint const& in, XYZPoint& out) {
  return transform(from, to, &in, &out, 1);
}

int coordSys::transform(coordSys const* from, coordSys const* to, XYZPoint const* in, XYZPoint* out, std::size_t n) {
  if (from == nullptr || to == nullptr) {
    std::fill_n(out, n, NOWHERE);
    return 1;
  }
  if (from == to) {
    return copyFinite(in, out, n);
  }
  int status = 0;
  bool const geocentric = from->hasStraightAxes() && to->hasStraightAxes();
  for (std::size_t begin = 0; begin < n; begin += ROUND) {
    std::size_t const count = std::min(ROUND, n - begin);
    XYZPoint* const points = out + begin;
    copyFinite(in + begin, points, count);
    if (geocentric) {
      from->toGeocentric(points, count);
      to->fromGeocentric(points, count);
    } else {
      from->toGeodetic(points, count);
      to->fromGeodetic(points, count);
    }
    status |= copyFinite(points, points, count);
  }
  return status;
}

Conversion coordSys::conversionAt(XYZPoint const& /*position*/) const {
  return {};
}

int coordSys::geo_to_ecef(XYZPoint const& in, XYZPoint& out) const {
  XYZPoint point;
  copyFinite(&in, &point, 1);
  toGeocentric(&point, 1);
  return copyFinite(&point, &out, 1);
}

void coordSys::toGeocentric(XYZPoint* points, std::size_t n) const {
  toGeodetic(points, n);
  std::transform(points, points + n, points, wgs84::toGeocentric);
}

void coordSys::fromGeocentric(XYZPoint* points, std::size_t n) const {
  std::transform(points, points + n, points, wgs84::toGeodetic);
  fromGeodetic(points, n);
}

bool coordSys::hasStraightAxes() const {
  return false;
}

}  // namespace geo
