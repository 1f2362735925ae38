// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CellPolynomial.h"

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <unordered_map>
#include <utility>

namespace kes::detail {

/// The conversion of positions from one coordinate system to another, for many positions near each other: in cells of
/// about 1 km (4 km of height), polynomials of second degree in each of the three coordinates, and of third degree in
/// all, stand in for the exact conversion.
///
/// Error: a cell is accepted only if it departs from the exact conversion by at most a quarter of the bounds, 1.6
/// micrometres across (2.5e-13 radians) and 25 micrometres of height, at 16 places that aren't its nodes, together with
/// all that the products of higher degree would add in its corners. Otherwise it is divided into four, down to 128 m,
/// as long as that promises to help. Positions in cells that remain are converted exactly: along the edges of grids,
/// where a conversion bends, near poles, and where a system ends. The bounds, 1e-12 radians (6.4 micrometres) across and
/// 0.1 mm of height, have thus room for what lies between the places.
///
/// Why this suffices: the third derivatives of a map projection are of the order of 1 / R² (R, the Earth's radius), and
/// the error of a polynomial through three nodes at distances a is 0.064 a³ times these: 0.2 micrometres for a cell of
/// 1 km. Fourth derivatives are of the order of 1 / R³, so that products of the fourth degree don't reach 0.01
/// micrometres.
///
/// Cells lie on a fixed lattice, so a result depends on nothing but the position. Any number of threads may use one
/// object; cells are made when they are first needed, and kept.
class BulkConversion {
public:
  /// Of coordinates of the source system. Positions outside, of which there may be many far from each other, are
  /// converted exactly.
  struct Box {
    geo::XYZPoint least;
    geo::XYZPoint greatest;
    bool contains(geo::XYZPoint const& p) const {
      return p.x >= least.x && p.x <= greatest.x && p.y >= least.y && p.y <= greatest.y && p.z >= least.z &&
             p.z <= greatest.z;
    }
  };

  BulkConversion(CoordinateSystem source, CoordinateSystem target, Box const& domain);
  ~BulkConversion();

  /// The cells that one thread used last.
  class Memory;

  /// Positions of the target system; NaN if they can't be converted. `out` may be `in`.
  void operator()(std::span<geo::XYZPoint const> in, std::span<geo::XYZPoint> out, Memory& memory) const;

  CoordinateSystem const& source() const { return mSource; }
  CoordinateSystem const& target() const { return mTarget; }

  /// The box around what the positions of another system's box become; `margin` is added on each side, in parts of its
  /// extent.
  static Box convertedBox(CoordinateSystem const& from, CoordinateSystem const& to, Box const& box, double margin);

private:
  struct Key {
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;
    bool operator==(Key const&) const = default;
    std::size_t hash() const;
  };
  struct Hash {
    std::size_t operator()(Key const& key) const { return key.hash(); }
  };
  struct Cell;
  struct LookUp;
  class Fit;

  CellPolynomial const* polynomial(geo::XYZPoint const& position, Memory& memory) const;
  Key keyOf(geo::XYZPoint const& position) const;
  std::shared_ptr<Cell const> cell(Key const& key) const;
  std::unique_ptr<Cell const> makeCell(geo::XYZPoint const& centre, double half, int level) const;
  geo::XYZPoint exact(geo::XYZPoint const& position) const;

  CoordinateSystem mSource;
  CoordinateSystem mTarget;
  Box mDomain;
  double mHalf;  // of a cell's edge, in units of the source
  double mHalfHeight;
  geo::XYZPoint mTolerance;  // in units of the target
  mutable std::mutex mMutex;
  mutable std::unordered_map<Key, std::shared_ptr<Cell const>, Hash> mCells;
};

class BulkConversion::Memory {
  friend class BulkConversion;
  static constexpr std::size_t side = 32;
  struct Entry {
    Key key{0, 0, 0};
    std::shared_ptr<Cell const> cell;
  };
  // Cells side by side have places of their own, and so do those above each other.
  Entry& entry(Key const& key) {
    auto const place = [](std::int64_t index) { return static_cast<std::size_t>(index) % side; };
    return mEntries[place(key.x) + side * place(key.y + key.z * std::int64_t{side / 2})];
  }
  Entry mEntries[side * side];
};

/// A conversion for one thread; one without a conversion leaves positions as they are.
class Converter {
public:
  explicit Converter(std::shared_ptr<BulkConversion const> conversion) : mConversion(std::move(conversion)) {}

  /// NaN where positions can't be converted; `out` may be `in`.
  void operator()(std::span<geo::XYZPoint const> in, std::span<geo::XYZPoint> out) {
    if (mConversion) {
      (*mConversion)(in, out, mMemory);
    } else if (in.data() != out.data()) {
      std::copy(in.begin(), in.end(), out.begin());
    }
  }
  geo::XYZPoint operator()(geo::XYZPoint const& position) {
    geo::XYZPoint converted;
    (*this)({&position, 1}, {&converted, 1});
    return converted;
  }

private:
  std::shared_ptr<BulkConversion const> mConversion;
  BulkConversion::Memory mMemory;
};

}  // namespace kes::detail
