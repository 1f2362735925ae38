// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BulkConversion.h"

#include <geo/coordSys.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

// A search for places where a conversion by cells departs from the exact one by more than its bounds: over the globe,
// for all kinds of systems, in both directions, and from the worst position of each place on uphill.

namespace {

using kes::CoordinateSystem;
using kes::detail::BulkConversion;
using kes::detail::Converter;

constexpr double PI = 3.14159265358979323846;
constexpr double ACROSS = 1e-12 * 6378137.0;  // metres, and as an angle 1e-12 radians
constexpr double HEIGHT = 1e-4;               // metres
BulkConversion::Box const AROUND{{-1100.0, -1100.0, -500.0}, {1100.0, 1100.0, 4500.0}};
constexpr double LEAST_ANGLE = 1e-3;  // radians from a pole

struct Family {
  char const* name;
  std::vector<std::string> systems;
  bool isOfTheRhine = false;  ///< Where both grids are.
};

std::vector<Family> families() {
  return {
      {"TransverseMercator",
       {"EPSG:32633", "EPSG:32760", "EPSG:31467", "+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996 +datum=WGS84"}},
      {"Conic",
       {"EPSG:2154", "EPSG:3034", "EPSG:5070", "+proj=eqdc +lat_1=20 +lat_2=60 +lon_0=40 +datum=WGS84",
        "+proj=krovak +datum=WGS84"}},
      {"Cylindrical", {"EPSG:3395", "EPSG:3857", "EPSG:6933", "+proj=cass +lon_0=10 +datum=WGS84"}},
      {"Azimuthal", {"EPSG:3035", "+proj=aeqd +lat_0=52 +lon_0=5 +datum=WGS84", "+proj=gnom +lat_0=40 +datum=WGS84"}},
      {"PolarStereographic", {"EPSG:3031", "EPSG:3413", "EPSG:3995", "EPSG:5041"}},
      {"ObliqueStereographic", {"EPSG:28992", "+proj=sterea +lat_0=46 +lon_0=25 +datum=WGS84"}},
      {"ObliqueMercator", {"EPSG:2056", "+proj=omerc +lat_0=4 +lonc=102.25 +alpha=323 +k=0.99984 +datum=WGS84"}},
      {"Geographic", {"EPSG:4326", "EPSG:4979", "EPSG:4258", "EPSG:4267"}},
      {"Geocentric", {"EPSG:4978"}},
      {"Feet", {"EPSG:2249", "EPSG:2230", "EPSG:3089"}},
      {"Polyconic", {"+proj=poly +lat_0=0 +lon_0=-54 +datum=WGS84", "+proj=bonne +lat_1=45 +datum=WGS84"}},
      {"Interrupted", {"+proj=igh +datum=WGS84", "+proj=healpix +datum=WGS84", "+proj=sinu +datum=WGS84"}},
      {"Geoid", {"EPSG:4326+5773", "EPSG:32633+5773"}},
      {"DatumGrid",
       {"+proj=tmerc +lon_0=9 +k=1 +x_0=3500000 +ellps=bessel +nadgrids=BETA2007.gsb",
        "+proj=longlat +ellps=clrk80ign +nadgrids=ntf_r93.gsb"},
       true}};
}

geo::XYZPoint exact(CoordinateSystem const& from, CoordinateSystem const& to, geo::XYZPoint const& p) {
  geo::XYZPoint converted;
  geo::coordSys::transform(&from.platform(), &to.platform(), p, converted);
  return converted;
}

/// A conversion, and how far it departs from the exact one, in parts of its bounds.
class Departure {
public:
  Departure(CoordinateSystem const& from, CoordinateSystem const& to, BulkConversion::Box const& domain)
      : mFrom(from), mTo(to), mConvert(std::make_shared<BulkConversion const>(from, to, domain)),
        mAcross(ACROSS / to.horizontalUnit().metres), mHeight(HEIGHT / to.verticalUnit().metres) {}

  double at(geo::XYZPoint const& p) {
    geo::XYZPoint const truth = exact(mFrom, mTo, p);
    geo::XYZPoint const found = mConvert(p);
    if (std::isnan(truth.x)) {
      EXPECT_TRUE(std::isnan(found.x));
      return 0.0;
    }
    return std::max({std::fabs(found.x - truth.x) / mAcross, std::fabs(found.y - truth.y) / mAcross,
                     std::fabs(found.z - truth.z) / mHeight});
  }

  /// The greatest from a position on, in steps that become smaller when there is nothing to gain.
  double uphill(geo::XYZPoint p, geo::XYZPoint const& step) {
    double greatest = at(p);
    double size = 1.0;
    for (int tries = 0; tries < 12; ++tries) {
      geo::XYZPoint best = p;
      for (int axis = 0; axis < 6; ++axis) {
        double const way = axis % 2 == 0 ? size : -size;
        geo::XYZPoint const next{p.x + (axis / 2 == 0 ? way * step.x : 0.0), p.y + (axis / 2 == 1 ? way * step.y : 0.0),
                                 p.z + (axis / 2 == 2 ? way * step.z : 0.0)};
        double const there = at(next);
        if (there > greatest) {
          greatest = there;
          best = next;
        }
      }
      size = best.x == p.x && best.y == p.y && best.z == p.z ? 0.5 * size : size;
      p = best;
    }
    return greatest;
  }

private:
  CoordinateSystem const& mFrom;
  CoordinateSystem const& mTo;
  Converter mConvert;
  double mAcross;
  double mHeight;
};

double greatestDeparture(Departure& departure, std::vector<geo::XYZPoint> const& positions, geo::XYZPoint const& step) {
  double greatest = 0.0;
  geo::XYZPoint worst = positions.front();
  for (geo::XYZPoint const& p : positions) {
    double const here = departure.at(p);
    worst = here > greatest ? p : worst;
    greatest = std::max(greatest, here);
  }
  return departure.uphill(worst, step);
}

class BulkConversionBound : public testing::TestWithParam<Family> {
protected:
  static constexpr unsigned SEED = 77;
  static constexpr int PLACES = 24;

  BulkConversionBound() : mRandom(SEED) {}

  double between(double least, double greatest) {
    return std::uniform_real_distribution<double>(least, greatest)(mRandom);
  }

  /// Over the globe, at the edges of zones and the date line, and near the poles.
  kes::GeodeticPosition place(int i) {
    if (GetParam().isOfTheRhine) {
      return {between(0.11, 0.14), between(0.83, 0.88), 100.0};
    }
    double const pole = 0.5 * PI - LEAST_ANGLE;
    double const turn = between(-PI, PI);
    double const latitude = std::asin(between(-1.0, 1.0));
    switch (i % 4) {
    case 0:
      return {std::round(turn / (PI / 30.0)) * (PI / 30.0), latitude, 100.0};
    case 1:
      return {i % 8 == 1 ? PI : -PI, latitude, 100.0};
    case 2:
      return {turn, i % 8 == 2 ? pole : -pole, 100.0};
    default:
      return {turn, latitude, 100.0};
    }
  }

  std::mt19937 mRandom;
};

TEST_P(BulkConversionBound, HoldsWhereverItIsSearched) {
  for (std::string const& definition : GetParam().systems) {
    std::optional<CoordinateSystem> system;
    try {
      system.emplace(definition);
    } catch (std::runtime_error const& error) {
      GTEST_SKIP() << error.what();  // a grid isn't installed
    }
    for (int i = 0; i < PLACES; ++i) {
      kes::GeodeticPosition const where = place(i);
      SCOPED_TRACE(testing::Message() << "seed " << SEED << ", " << definition << " at " << where.longitude << ", "
                                      << where.latitude);
      CoordinateSystem const local = CoordinateSystem::local(where);
      std::vector<geo::XYZPoint> positions;
      std::vector<geo::XYZPoint> converted;
      for (int k = 0; k < 60; ++k) {
        positions.push_back({between(AROUND.least.x, AROUND.greatest.x), between(AROUND.least.y, AROUND.greatest.y),
                             between(AROUND.least.z, AROUND.greatest.z)});
        converted.push_back(exact(local, *system, positions.back()));
      }
      Departure there(local, *system, AROUND);
      EXPECT_LE(greatestDeparture(there, positions, {100.0, 100.0, 300.0}), 1.0);
      if (std::isfinite(converted.front().x)) {
        Departure back(*system, local, BulkConversion::convertedBox(local, *system, AROUND, 0.01));
        double const metre = 1.0 / system->horizontalUnit().metres;
        EXPECT_LE(greatestDeparture(back, converted, {100.0 * metre, 100.0 * metre, 300.0}), 1.0);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Families, BulkConversionBound, testing::ValuesIn(families()),
                         [](auto const& with) { return std::string(with.param.name); });

}  // namespace
