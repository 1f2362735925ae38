// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BulkConversion.h"

#include "CellKernels.h"
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
constexpr std::size_t RUN = 256;  // positions that are converted together
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

// What is looked up in a run, and by what.
struct BulkConversion::LookUp {
  BulkConversion const& conversion;
  Memory& memory;

  static CellPolynomial const* find(void const* context, geo::XYZPoint const& position) {
    auto const* const lookUp = static_cast<LookUp const*>(context);
    return lookUp->conversion.polynomial(position, lookUp->memory);
  }
};

/// Either a polynomial, or four cells, or nothing: then positions are converted exactly.
struct BulkConversion::Cell {
  geo::XYZPoint centre;
  std::unique_ptr<CellPolynomial const> polynomial;
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
                             mConverted.data(), mPositions.size());
  }

  /// Null if a position can't be converted.
  std::unique_ptr<CellPolynomial const> polynomial() const {
    if (!std::all_of(mConverted.begin(), mConverted.end(), [](geo::XYZPoint const& p) { return isFinite(p); })) {
      return nullptr;
    }
    auto fit = std::make_unique<CellPolynomial>();
    fit->constant = mConverted[ALL_NODES / 2];
    fit->least = mPositions[0];
    fit->greatest = mPositions[ALL_NODES - 1];
    fit->centre = mPositions[ALL_NODES / 2];
    fit->perHalf = {1.0 / (fit->centre.x - fit->least.x), 1.0 / (fit->centre.y - fit->least.y),
                    1.0 / (fit->centre.z - fit->least.z)};
    auto& terms = fit->terms;
    for (std::size_t n = 0; n < ALL_NODES; ++n) {
      geo::XYZPoint const& p = mConverted[n];
      terms[n / 9][n / 3 % NODES][n % NODES] = {p.x - fit->constant.x, p.y - fit->constant.y, p.z - fit->constant.z,
                                                0.0};
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(terms[a][b][0], terms[a][b][1], terms[a][b][2]);
      }
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(terms[a][0][b], terms[a][1][b], terms[a][2][b]);
      }
    }
    for (std::size_t a = 0; a < NODES; ++a) {
      for (std::size_t b = 0; b < NODES; ++b) {
        toPowers(terms[0][a][b], terms[1][a][b], terms[2][a][b]);
      }
    }
    return fit;
  }

  /// The greatest departure from the exact conversion at the places of the check, and what is left out in the corners,
  /// in parts of what is tolerated.
  double error(CellPolynomial const& fit, geo::XYZPoint const& tolerance) const {
    return errorAtPlaces(fit, tolerance) + leftOut(fit, tolerance);
  }

private:
  double errorAtPlaces(CellPolynomial const& fit, geo::XYZPoint const& tolerance) const {
    std::array<geo::XYZPoint, CHECKS.size()> converted;
    std::array<std::uint32_t, CHECKS.size()> rest{};
    auto const isFit = [](void const* context, geo::XYZPoint const&) {
      return static_cast<CellPolynomial const*>(context);
    };
    convertInCells({&mPositions[ALL_NODES], converted.size(), converted.data(), rest.data(), isFit, &fit});
    double greatest = 0.0;
    for (std::size_t n = 0; n < CHECKS.size(); ++n) {
      geo::XYZPoint const& exact = mConverted[ALL_NODES + n];
      geo::XYZPoint const& p = converted[n];
      greatest = std::max({greatest, std::fabs(p.x - exact.x) / tolerance.x, std::fabs(p.y - exact.y) / tolerance.y,
                           std::fabs(p.z - exact.z) / tolerance.z});
    }
    return greatest;
  }

  // The products of more than the third degree, which are greatest in the corners, where no place is.
  static double leftOut(CellPolynomial const& fit, geo::XYZPoint const& tolerance) {
    geo::XYZPoint sum{0.0, 0.0, 0.0};
    for (std::size_t n = 0; n < ALL_NODES; ++n) {
      std::array<std::size_t, 3> const power{n / 9, n / 3 % NODES, n % NODES};
      if (power[0] + power[1] + power[2] > CellPolynomial::degree) {
        CellPolynomial::Terms const& terms = fit.terms[power[0]][power[1]][power[2]];
        sum = {sum.x + std::fabs(terms[0]), sum.y + std::fabs(terms[1]), sum.z + std::fabs(terms[2])};
      }
    }
    return std::max({sum.x / tolerance.x, sum.y / tolerance.y, sum.z / tolerance.z});
  }

  // From values at -1, 0 and 1 to the factors of 1, t and t².
  static void toPowers(CellPolynomial::Terms& first, CellPolynomial::Terms& second, CellPolynomial::Terms& third) {
    for (std::size_t l = 0; l < first.size(); ++l) {
      double const before = first[l];
      double const middle = second[l];
      double const after = third[l];
      first[l] = middle;
      second[l] = 0.5 * (after - before);
      third[l] = 0.5 * (after + before) - middle;
    }
  }

  std::array<geo::XYZPoint, ALL_NODES + CHECKS.size()> mPositions;
  std::array<geo::XYZPoint, ALL_NODES + CHECKS.size()> mConverted;
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

void BulkConversion::operator()(std::span<geo::XYZPoint const> in, std::span<geo::XYZPoint> out, Memory& memory) const {
  std::array<std::uint32_t, RUN> rest;
  LookUp const lookUp{*this, memory};
  for (std::size_t begin = 0; begin < in.size(); begin += RUN) {
    std::size_t const count = std::min(RUN, in.size() - begin);
    std::size_t const left = convertInCells({&in[begin], count, &out[begin], rest.data(), &LookUp::find, &lookUp});
    for (std::size_t n = 0; n < left; ++n) {
      out[begin + rest[n]] = exact(in[begin + rest[n]]);
    }
  }
}

// Null where there is none. The memory keeps it until the next call at least, also when all cells are dropped.
CellPolynomial const* BulkConversion::polynomial(geo::XYZPoint const& position, Memory& memory) const {
  if (!mDomain.contains(position)) {
    return nullptr;
  }
  Key const key = keyOf(position);
  Memory::Entry& entry = memory.entry(key);
  if (!entry.cell || !(entry.key == key)) {
    entry = {key, cell(key)};
  }
  Cell const* found = entry.cell.get();
  while (found != nullptr && !found->polynomial) {
    found = found->quarter(position);
  }
  return found != nullptr ? found->polynomial.get() : nullptr;
}

BulkConversion::Key BulkConversion::keyOf(geo::XYZPoint const& position) const {
  // Dividing by a power of two is exact.
  auto const index = [](double value, double half) {
    double const edges = value / (2.0 * half);
    auto const towardsZero = static_cast<std::int64_t>(edges);
    return towardsZero - (edges < static_cast<double>(towardsZero) ? 1 : 0);
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
  Fit const fit(*this, centre, half);
  std::unique_ptr<CellPolynomial const> polynomial = fit.polynomial();
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
  if (!isFinite(position)) {
    return NOWHERE;
  }
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
