// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Source: the frame and its rotation are those of IOGP Publication 373-7-2 (Geomatics Guidance Note 7 part 2), section
// 4.1.2, "Geocentric/topocentric conversions". Index 0 stands for the anchor, φ for the latitude, Δ for a difference to
// the anchor, and W = sqrt(1 - e² sin² φ), N = a / W, R = N + h, as in textbooks.

#include "geo/LocalSystem.h"

#include "files/NumberText.h"
#include "geo/CommonUnits.h"
#include "geo/Definition.h"
#include "geo/Wgs84.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace geo {

using wgs84::E2;
using wgs84::SEMI_MAJOR_AXIS;

namespace {

/// sin(x) and 1 - cos(x), both to their own last digits, also for a small x.
struct SineAndVersine {
  explicit SineAndVersine(double x) {
    double const half = std::sin(0.5 * x);
    sine = 2.0 * half * std::cos(0.5 * x);
    versine = 2.0 * half * half;
  }
  double sine;
  double versine;
};

/// A number with nothing behind it, in the C locale.
std::optional<double> numberOf(std::string_view text) {
  double value = 0.0;
  auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
  bool const whole = result.ec == std::errc{} && result.ptr == text.data() + text.size();
  return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// An angle in degrees, or in radians with an "r" behind it, in radians.
std::optional<double> angleOf(std::string_view text) {
  bool const radians = !text.empty() && text.back() == 'r';
  if (radians) {
    text.remove_suffix(1);
  }
  auto const value = numberOf(text);
  return value && !radians ? std::optional(*value * wgs84::RADIANS_PER_DEGREE) : value;
}

/// The next word of `text`, without a "+" in front of it; the word is cut off from `text`.
std::string_view nextWord(std::string_view& text) {
  text = trimmed(text);
  std::string_view word = text.substr(0, text.find_first_of(" \t\r\n"));
  text.remove_prefix(word.size());
  if (word.starts_with('+')) {
    word.remove_prefix(1);
  }
  return word;
}

/// What has been read of the PROJ string of a local system.
struct LocalString {
  std::optional<double> longitude;
  std::optional<double> latitude;
  std::optional<double> height = 0.0;
  bool topocentric = false;
  bool wgs84 = false;

  /// Takes one word; false when a local system can't have it.
  bool take(std::string_view word) {
    std::string_view const key = word.substr(0, word.find('='));
    std::string_view const value = word.substr(std::min(word.size(), key.size() + 1));
    if (key == "lon_0") {
      longitude = angleOf(value);
      return longitude.has_value();
    }
    if (key == "lat_0") {
      latitude = angleOf(value);
      return latitude.has_value();
    }
    if (key == "h_0") {
      height = numberOf(value);
      return height.has_value();
    }
    topocentric = topocentric || word == "proj=topocentric";
    wgs84 = wgs84 || word == "datum=WGS84";
    return word == "proj=topocentric" || word == "datum=WGS84" || word == "units=m" || word == "no_defs" ||
           word == "type=crs";
  }
};

}  // namespace

std::optional<XYZPoint> LocalSystem::anchorOf(std::string_view definition) {
  LocalString read;
  for (definition = trimmed(definition); !definition.empty(); definition = trimmed(definition)) {
    if (!read.take(nextWord(definition))) {
      return std::nullopt;
    }
  }
  if (!read.topocentric || !read.wgs84 || !read.longitude || !read.latitude) {
    return std::nullopt;
  }
  return XYZPoint{*read.longitude, *read.latitude, *read.height};
}

QDomElement LocalSystem::toXml(QDomDocument& document) const {
  // Angles in radians, so that not a bit of the anchor changes.
  return definitionToXml(document, "+proj=topocentric +datum=WGS84 +lon_0=" + files::shortestText(mAnchor.x) +
                                       "r +lat_0=" + files::shortestText(mAnchor.y) +
                                       "r +h_0=" + files::shortestText(mAnchor.z) + " +type=crs");
}

LocalSystem::LocalSystem(XYZPoint const& anchor)
    : mAnchor(anchor), mLongitude(std::remainder(anchor.x, 2.0 * wgs84::PI)), mSinLongitude(std::sin(anchor.x)),
      mCosLongitude(std::cos(anchor.x)), mSinLatitude(std::sin(anchor.y)), mCosLatitude(std::cos(anchor.y)),
      mW(std::sqrt(1.0 - E2 * mSinLatitude * mSinLatitude)), mN(SEMI_MAJOR_AXIS / mW),
      mOrigin(wgs84::toGeocentric(anchor)) {}

units const& LocalSystem::verticalUnits() const {
  return metre();
}

units const& LocalSystem::horizontalUnits() const {
  return metre();
}

// With X, Z the coordinates in the anchor's meridian plane, Y across it, and λ the longitude from the anchor's:
//   X = R cos φ cos Δλ,  Y = R cos φ sin Δλ,  Z = R sin φ - e² N sin φ
//   east = Y,  north = -sin φ0 (X - X0) + cos φ0 (Z - Z0),  up = cos φ0 (X - X0) + sin φ0 (Z - Z0)
// Inserted, and with cos = 1 - versine, the terms of the size of the Earth's radius cancel in the formulae.
XYZPoint LocalSystem::localOf(Offset const& offset) const {
  SineAndVersine const dLongitude(offset.longitude);
  SineAndVersine const dLatitude(offset.latitude);
  double const dSin = mCosLatitude * dLatitude.sine - mSinLatitude * dLatitude.versine;  // sin φ - sin φ0
  double const dCos = -mSinLatitude * dLatitude.sine - mCosLatitude * dLatitude.versine;
  double const sinLatitude = mSinLatitude + dSin;
  double const cosLatitude = mCosLatitude + dCos;

  double const w = std::sqrt(1.0 - E2 * sinLatitude * sinLatitude);
  double const dN = SEMI_MAJOR_AXIS * E2 * dSin * (sinLatitude + mSinLatitude) / (w * mW * (w + mW));  // N - N0
  double const n = mN + dN;
  double const r = n + (mAnchor.z + offset.height);
  double const flattening = E2 * (n * dSin + dN * mSinLatitude);  // e² (N sin φ - N0 sin φ0)
  double const bend = cosLatitude * dLongitude.versine;

  return {r * cosLatitude * dLongitude.sine, r * (dLatitude.sine + mSinLatitude * bend) - mCosLatitude * flattening,
          dN + offset.height - r * (dLatitude.versine + mCosLatitude * bend) - mSinLatitude * flattening};
}

XYZPoint LocalSystem::geodeticOf(XYZPoint const& local) const {
  double const x = (mN + mAnchor.z) * mCosLatitude + (mCosLatitude * local.z - mSinLatitude * local.y);
  double const z = (mN * (1.0 - E2) + mAnchor.z) * mSinLatitude + (mCosLatitude * local.y + mSinLatitude * local.z);
  double const p = std::sqrt(x * x + local.x * local.x);
  double const dLongitude = std::atan2(local.x, x);
  wgs84::MeridianPosition const rounded = wgs84::meridianPosition(p, z);

  // x, z and p are rounded at the size of the Earth's radius. The way back isn't: what it misses the point by is what
  // that rounding cost latitude and height. The longitude doesn't feel it.
  XYZPoint const reached = localOf({dLongitude, rounded.latitude - mAnchor.y, rounded.height - mAnchor.z});
  double const north = local.y - reached.y;
  double const up = local.z - reached.z;
  double const missX = mCosLatitude * up - mSinLatitude * north;
  double const missZ = mCosLatitude * north + mSinLatitude * up;
  double const missP = (missX * x + (local.x - reached.x) * local.x) / std::max(p, 1.0);
  wgs84::MeridianPosition const position = wgs84::moved(rounded, missP, missZ);
  return {wgs84::longitudeSum(mLongitude, dLongitude), position.latitude, position.height};
}

void LocalSystem::toGeodetic(XYZPoint* points, std::size_t n) const {
  std::transform(points, points + n, points, [this](XYZPoint const& local) { return geodeticOf(local); });
}

void LocalSystem::fromGeodetic(XYZPoint* points, std::size_t n) const {
  std::transform(points, points + n, points, [this](XYZPoint const& geodetic) {
    return localOf(
        {wgs84::longitudeDifference(geodetic.x, mLongitude), geodetic.y - mAnchor.y, geodetic.z - mAnchor.z});
  });
}

void LocalSystem::toGeocentric(XYZPoint* points, std::size_t n) const {
  for (std::size_t i = 0; i < n; ++i) {
    auto const [east, north, up] = points[i];
    double const outward = mCosLatitude * up - mSinLatitude * north;  // from the axis, in the anchor's meridian
    points[i] = {mOrigin.x + (mCosLongitude * outward - mSinLongitude * east),
                 mOrigin.y + (mSinLongitude * outward + mCosLongitude * east),
                 mOrigin.z + (mCosLatitude * north + mSinLatitude * up)};
  }
}

void LocalSystem::fromGeocentric(XYZPoint* points, std::size_t n) const {
  for (std::size_t i = 0; i < n; ++i) {
    double const x = points[i].x - mOrigin.x;
    double const y = points[i].y - mOrigin.y;
    double const z = points[i].z - mOrigin.z;
    double const outward = mCosLongitude * x + mSinLongitude * y;
    points[i] = {mCosLongitude * y - mSinLongitude * x, mCosLatitude * z - mSinLatitude * outward,
                 mCosLatitude * outward + mSinLatitude * z};
  }
}

}  // namespace geo
