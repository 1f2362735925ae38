// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "CellKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "CellKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// Horner's rule for the `count` terms of a row; `term` is a function of the power.
template <std::size_t count, class Number, class Term>
HWY_INLINE Number rowOfTerms(Number at, Term const& term) {
  Number sum = term(std::integral_constant<std::size_t, count - 1>());
  if constexpr (count > 2) {
    sum = sum * at + term(std::integral_constant<std::size_t, 1>());
  }
  if constexpr (count > 1) {
    sum = sum * at + term(std::integral_constant<std::size_t, 0>());
  }
  return sum;
}

/// The sum of all terms at x, y and z, from -1 to 1; `term` is a function of the three powers. One order of operations
/// for all kinds of numbers, and so the same bits.
template <class Number, class Term>
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): coordinates in their order
HWY_INLINE Number sumOfTerms(Number x, Number y, Number z, Term const& term) {
  constexpr auto powers = [](std::size_t others) {
    return std::min(CellPolynomial::powers, CellPolynomial::degree - others + 1);
  };
  return rowOfTerms<CellPolynomial::powers>(x, [&](auto i) HWY_ATTR {
    return rowOfTerms<powers(i)>(y, [&](auto j) HWY_ATTR {
      return rowOfTerms<powers(i + j)>(z, [&](auto k) HWY_ATTR { return term(i, j, k); });
    });
  });
}

/// Positions in lanes, with the cell that the last ones had.
class CellLanes {
public:
  explicit CellLanes(CellRun const& run) : mRun(run) {}

  std::size_t convert() {
    std::size_t i = 0;
    for (; i + laneCount <= mRun.count; i += laneCount) {
      Positions const p(mRun.in + i);
      if (areInCell(p) || (findCell(mRun.in[i]) && areInCell(p))) {
        convertTogether(p, mRun.out + i);
      } else {
        convertSingly(i, i + laneCount);
      }
    }
    convertSingly(i, mRun.count);
    return mRest;
  }

private:
  struct Positions {
    HWY_INLINE explicit Positions(geo::XYZPoint const* from) {
      loadInterleaved(reinterpret_cast<double const*>(from), x, y, z);
    }
    Lanes x, y, z;
  };

  HWY_INLINE bool areInCell(Positions const& p) const {
    if (mCell == nullptr) {
      return false;
    }
    auto const isWithin = [](Lanes value, double least, double greatest)
                              HWY_ATTR { return both(value >= same(least), value < same(greatest)); };
    return allTrue(
        both(both(isWithin(p.x, mCell->least.x, mCell->greatest.x), isWithin(p.y, mCell->least.y, mCell->greatest.y)),
             isWithin(p.z, mCell->least.z, mCell->greatest.z)));
  }

  HWY_INLINE void convertTogether(Positions const& p, geo::XYZPoint* out) const {
    CellPolynomial const& cell = *mCell;
    Lanes const x = (p.x - same(cell.centre.x)) * same(cell.perHalf.x);
    Lanes const y = (p.y - same(cell.centre.y)) * same(cell.perHalf.y);
    Lanes const z = (p.z - same(cell.centre.z)) * same(cell.perHalf.z);
    auto const coordinate = [&](std::size_t l, double constant) HWY_ATTR {
      return same(constant) + sumOfTerms(x, y, z, [&](std::size_t i, std::size_t j, std::size_t k) HWY_ATTR {
               return same(cell.terms[i][j][k][l]);
             });
    };
    storeInterleaved(coordinate(0, cell.constant.x), coordinate(1, cell.constant.y), coordinate(2, cell.constant.z),
                     reinterpret_cast<double*>(out));
  }

  void convertSingly(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      geo::XYZPoint const p = mRun.in[i];
      if (findCell(p)) {
        mRun.out[i] = converted(*mCell, p);
      } else {
        mRun.rest[mRest++] = static_cast<std::uint32_t>(i);
      }
    }
  }

  // Whether a position has a cell; of the next ones, some mostly share it.
  bool findCell(geo::XYZPoint const& p) {
    if (mCell == nullptr || !mCell->contains(p)) {
      mCell = mRun.find(mRun.context, p);
    }
    return mCell != nullptr;
  }

  // The coordinates of one position in lanes.
  static HWY_INLINE geo::XYZPoint converted(CellPolynomial const& cell, geo::XYZPoint const& p) {
    hn::CappedTag<double, 4> const together;
    double const x = (p.x - cell.centre.x) * cell.perHalf.x;
    double const y = (p.y - cell.centre.y) * cell.perHalf.y;
    double const z = (p.z - cell.centre.z) * cell.perHalf.z;
    CellPolynomial::Terms sums;
    for (std::size_t l = 0; l < sums.size(); l += hn::Lanes(together)) {
      auto const sum = sumOfTerms(hn::Set(together, x), hn::Set(together, y), hn::Set(together, z),
                                  [&](std::size_t i, std::size_t j, std::size_t k)
                                      HWY_ATTR { return hn::LoadU(together, &cell.terms[i][j][k][l]); });
      hn::StoreU(sum, together, &sums[l]);
    }
    return {cell.constant.x + sums[0], cell.constant.y + sums[1], cell.constant.z + sums[2]};
  }

  CellRun const& mRun;
  CellPolynomial const* mCell = nullptr;
  std::size_t mRest = 0;
};

inline std::size_t convertAll(CellRun const& run) {
  return CellLanes(run).convert();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(convertAll);

std::size_t convertInCells(CellRun const& run) {
  return HWY_DYNAMIC_DISPATCH(convertAll)(run);
}

}  // namespace kes::detail
#endif
