// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BulkConversion.h"

#include "Checks.h"

#include <geo/coordSys.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace kes::detail {

namespace {

constexpr double CELL = 1024.0;         // metres; the edge is at most as long, and a power of two of the system's unit
constexpr double CELL_HEIGHT = 4096.0;  // metres
constexpr int LEVELS = 3;               // of division: down to an eighth of the edge
constexpr double HOPELESS = 512.0;      // times the tolerance: a smooth error falls to an eighth with each division
constexpr std::size_t MOST_CELLS = 16384;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double EARTH_RADIUS = 6378137.0;
// A quarter of what is promised.
constexpr double TOLERANCE = 0.25e-12 * EARTH_RADIUS;  // metres
constexpr double HEIGHT_TOLERANCE = 0.25e-4;           // metres

constexpr int NODES = 3;
constexpr std::size_t ALL_NODES = 27;
constexpr double PEAK =
    0.57735026918962576;  // 1 / sqrt(3): where t (t² - 1), the error between three nodes, is greatest
// Where a cell is checked: at the peaks of a smooth error, and at places (a Halton sequence) that see a bend.
constexpr std::array<std::array<double, 3>, 16> CHECKS{{{-PEAK, -PEAK, -PEAK},
                                                        {PEAK, -PEAK, -PEAK},
                                                        {-PEAK, PEAK, -PEAK},
                                                        {PEAK, PEAK, -PEAK},
                                                        {-PEAK, -PEAK, PEAK},
                                                        {PEAK, -PEAK, PEAK},
                                                        {-PEAK, PEAK, PEAK},
                                                        {PEAK, PEAK, PEAK},
                                                        {0.0, -0.33333, -0.6},
                                                        {-0.5, 0.33333, -0.2},
                                                        {0.5, -0.77778, 0.2},
                                                        {-0.75, -0.11111, 0.6},
                                                        {0.25, 0.55556, -0.92},
                                                        {-0.25, -0.55556, -0.52},
                                                        {0.75, 0.11111, -0.12},
                                                        {-0.875, 0.77778, 0.28}}};

// The greatest power of two of a unit that is at most as long as `metres`.
double powerOfTwo(double metres, Unit const& unit) {
  return std::ldexp(1.0, std::ilogb(metres / unit.metres));
}

}  // namespace

/// Three coordinates, as a sum of products of powers up to the second of x, y and z, each from -1 to 1 in the cell.
struct BulkConversion::Polynomial {
  // The fourth makes them fill vector registers.
  using Lanes = std::array<double, 4>;

  geo::XYZPoint constant;
  // By the powers of x, y and z.
  std::array<std::array<std::array<Lanes, NODES>, NODES>, NODES> terms;

  // Horner's rule, coordinate by coordinate.
  geo::XYZPoint at(double x, double y, double z) const {
    Lanes sum{};
    for (std::size_t i = NODES; i-- > 0;) {
      Lanes inY{};
      for (std::size_t j = NODES; j-- > 0;) {
        Lanes inZ = terms[i][j][2];
        for (std::size_t l = 0; l < 4; ++l) {
          inZ[l] = (inZ[l] * z + terms[i][j][1][l]) * z + terms[i][j][0][l];
          inY[l] = inY[l] * y + inZ[l];
        }
      }
      for (std::size_t l = 0; l < 4; ++l) {
        sum[l] = sum[l] * x + inY[l];
      }
    }
    return {constant.x + sum[0], constant.y + sum[1], constant.z + sum[2]};
  }
};

/// Either a polynomial, or four cells, or nothing: then positions are converted exactly.
struct BulkConversion::Cell {
  geo::XYZPoint centre;
  double perHalf;
  double perHalfHeight;
  std::unique_ptr<Polynomial const> polynomial;
  std::array<std::unique_ptr<Cell const>, 4> quarters;  // by the signs of x and y, that of x first

  Cell const* quarter(geo::XYZPoint const& p) const {
    return quarters[(p.x >= centre.x ? 1U : 0U) + (p.y >= centre.y ? 2U : 0U)].get();
  }
};

/// The polynomial through the nodes of a cell.
class BulkConversion::Fit {
public:
  Fit(BulkConversion const& conversion, geo::XYZPoint const& centre, double half) {
    for (std::size_t n = 0; n < ALL_NODES; ++n) {
      auto const place = [&](std::size_t axis) { return static_cast<double>(axis % NODES) - 1.0; };
      mPositions[n] = {centre.x + half * place(n / 9), centre.y + half * place(n / 3),
                       centre.z + conversion.mHalfHeight * place(n)};
    }
    for (std::size_t n = 0; n < CHECKS.size(); ++n) {
      mPositions[ALL_NODES + n] = {centre.x + half * CHECKS[n][0], centre.y + half * CHECKS[n][1],
                                   centre.z + conversion.mHalfHeight * CHECKS[n][2]};
    }
    geo::coordSys::transform(&conversion.mSource.platform(), &conversion.mTarget.platform(), mPositions.data(),
                             mPositions.data(), mPositions.size());
  }

  /// Null if a position can't be converted.
  std::unique_ptr<Polynomial const> polynomial() const {
    if (!std::all_of(mPositions.begin(), mPositions.end(), [](geo::XYZPoint const& p) { return isFinite(p); })) {
      return nullptr;
    }
    auto fit = std::make_unique<Polynomial>();
    fit->constant = mPositions[ALL_NODES / 2];
    for (std::size_t n = 0; n < ALL_NODES; ++n) {
      geo::XYZPoint const& p = mPositions[n];
      fit->terms[n / 9][n / 3 % NODES][n % NODES] = {p.x - fit->constant.x, p.y - fit->constant.y,
                                                     p.z - fit->constant.z, 0.0};
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(fit->terms[a][b][0], fit->terms[a][b][1], fit->terms[a][b][2]);
      }
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(fit->terms[a][0][b], fit->terms[a][1][b], fit->terms[a][2][b]);
      }
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(fit->terms[0][a][b], fit->terms[1][a][b], fit->terms[2][a][b]);
      }
    }
    return fit;
  }

  /// The greatest departure from the exact conversion at the places of the check, in parts of what is tolerated.
  double error(Polynomial const& fit, geo::XYZPoint const& tolerance) const {
    double greatest = 0.0;
    for (std::size_t n = 0; n < CHECKS.size(); ++n) {
      geo::XYZPoint const& exact = mPositions[ALL_NODES + n];
      geo::XYZPoint const p = fit.at(CHECKS[n][0], CHECKS[n][1], CHECKS[n][2]);
      greatest = std::max({greatest, std::fabs(p.x - exact.x) / tolerance.x, std::fabs(p.y - exact.y) / tolerance.y,
                           std::fabs(p.z - exact.z) / tolerance.z});
    }
    return greatest;
  }

private:
  // From values at -1, 0 and 1 to the factors of 1, t and t².
  static void toPowers(Polynomial::Lanes& first, Polynomial::Lanes& second, Polynomial::Lanes& third) {
    for (std::size_t l = 0; l < 4; ++l) {
      double const before = first[l];
      double const middle = second[l];
      double const after = third[l];
      first[l] = middle;
      second[l] = 0.5 * (after - before);
      third[l] = 0.5 * (after + before) - middle;
    }
  }

  std::array<geo::XYZPoint, ALL_NODES + CHECKS.size()> mPositions;
};

std::size_t BulkConversion::Key::hash() const {
  auto const mixed = static_cast<std::uint64_t>(x) * 0x9E3779B97F4A7C15U + static_cast<std::uint64_t>(y);
  return static_cast<std::size_t>(((mixed ^ (mixed >> 29U)) + static_cast<std::uint64_t>(z)) * 0xBF58476D1CE4E5B9U >>
                                  20U);
}

BulkConversion::BulkConversion(CoordinateSystem source, CoordinateSystem target, Box const& domain)
    : mSource(std::move(source)), mTarget(std::move(target)), mDomain(domain),
      mHalf(0.5 * powerOfTwo(CELL, mSource.horizontalUnit())),
      mHalfHeight(0.5 * powerOfTwo(CELL_HEIGHT, mSource.verticalUnit())),
      mTolerance{TOLERANCE / mTarget.horizontalUnit().metres, TOLERANCE / mTarget.horizontalUnit().metres,
                 HEIGHT_TOLERANCE / mTarget.verticalUnit().metres} {}

BulkConversion::~BulkConversion() = default;

geo::XYZPoint BulkConversion::operator()(geo::XYZPoint const& position, Memory& memory) const {
  if (!mDomain.contains(position)) {
    return exact(position);
  }
  Key const key = keyOf(position);
  Memory::Entry& entry = memory.mEntries[key.hash() % Memory::size];
  if (!entry.cell || !(entry.key == key)) {
    entry = {key, cell(key)};
  }
  Cell const* found = entry.cell.get();
  while (found != nullptr && !found->polynomial) {
    found = found->quarter(position);
  }
  if (found == nullptr) {
    return exact(position);
  }
  return found->polynomial->at((position.x - found->centre.x) * found->perHalf,
                               (position.y - found->centre.y) * found->perHalf,
                               (position.z - found->centre.z) * found->perHalfHeight);
}

BulkConversion::Key BulkConversion::keyOf(geo::XYZPoint const& position) const {
  auto const index = [](double value, double half) {
    return static_cast<std::int64_t>(std::floor(value / (2.0 * half)));
  };
  return {index(position.x, mHalf), index(position.y, mHalf), index(position.z, mHalfHeight)};
}

std::shared_ptr<BulkConversion::Cell const> BulkConversion::cell(Key const& key) const {
  {
    std::lock_guard const lock(mMutex);
    auto const found = mCells.find(key);
    if (found != mCells.end()) {
      return found->second;
    }
  }
  auto const middle = [](std::int64_t index, double half) { return (2.0 * static_cast<double>(index) + 1.0) * half; };
  std::shared_ptr<Cell const> const made =
      makeCell({middle(key.x, mHalf), middle(key.y, mHalf), middle(key.z, mHalfHeight)}, mHalf, 0);
  std::lock_guard const lock(mMutex);
  if (mCells.size() >= MOST_CELLS) {
    mCells.clear();
  }
  return mCells.emplace(key, made).first->second;
}

std::unique_ptr<BulkConversion::Cell const> BulkConversion::makeCell(geo::XYZPoint const& centre, double half,
                                                                     int level) const {
  auto cell = std::make_unique<Cell>();
  cell->centre = centre;
  cell->perHalf = 1.0 / half;
  cell->perHalfHeight = 1.0 / mHalfHeight;
  Fit const fit(*this, centre, half);
  std::unique_ptr<Polynomial const> polynomial = fit.polynomial();
  double const error = polynomial ? fit.error(*polynomial, mTolerance) : INFINITE;
  if (error <= 1.0) {
    cell->polynomial = std::move(polynomial);
  } else if (error <= HOPELESS && level < LEVELS) {
    double const quarter = 0.5 * half;
    for (std::size_t i = 0; i < cell->quarters.size(); ++i) {
      cell->quarters[i] = makeCell(
          {centre.x + (i % 2 == 1 ? quarter : -quarter), centre.y + (i / 2 == 1 ? quarter : -quarter), centre.z},
          quarter, level + 1);
    }
  }
  return cell;
}

geo::XYZPoint BulkConversion::exact(geo::XYZPoint const& position) const {
  geo::XYZPoint converted;
  geo::coordSys::transform(&mSource.platform(), &mTarget.platform(), position, converted);
  return converted;
}

BulkConversion::Box BulkConversion::convertedBox(CoordinateSystem const& from, CoordinateSystem const& to,
                                                 Box const& box, double margin) {
  constexpr int PLACES = 9;
  auto const between = [](double least, double greatest, int place) {
    return least + (greatest - least) * place / (PLACES - 1);
  };
  Box converted{{INFINITE, INFINITE, INFINITE}, {-INFINITE, -INFINITE, -INFINITE}};
  for (int n = 0; n < PLACES * PLACES * PLACES; ++n) {
    geo::XYZPoint const place{between(box.least.x, box.greatest.x, n % PLACES),
                              between(box.least.y, box.greatest.y, n / PLACES % PLACES),
                              between(box.least.z, box.greatest.z, n / (PLACES * PLACES))};
    geo::XYZPoint p;
    if (geo::coordSys::transform(&from.platform(), &to.platform(), place, p) == 0) {
      converted.least = {std::fmin(converted.least.x, p.x), std::fmin(converted.least.y, p.y),
                         std::fmin(converted.least.z, p.z)};
      converted.greatest = {std::fmax(converted.greatest.x, p.x), std::fmax(converted.greatest.y, p.y),
                            std::fmax(converted.greatest.z, p.z)};
    }
  }
  geo::XYZPoint const more{margin * (converted.greatest.x - converted.least.x),
                           margin * (converted.greatest.y - converted.least.y),
                           margin * (converted.greatest.z - converted.least.z)};
  return {{converted.least.x - more.x, converted.least.y - more.y, converted.least.z - more.z},
          {converted.greatest.x + more.x, converted.greatest.y + more.y, converted.greatest.z + more.z}};
}

}  // namespace kes::detail
