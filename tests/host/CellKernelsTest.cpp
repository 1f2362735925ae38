// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CellKernels.h"

#include "InstructionSets.h"
#include "support/Matchers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using kes::detail::CellPolynomial;
using kes::detail::CellRun;

/// Two cells side by side, from x = 0 to 2 and 2 to 4, whose polynomials have nothing to do with each other.
class CellKernels : public test::WithInstructionSet {
protected:
  CellKernels() {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> term(-1.0, 1.0);
    for (CellPolynomial& cell : mCells) {
      double const x = &cell == mCells ? 1.0 : 3.0;
      cell.centre = {x, 10.0, -5.0};
      cell.least = {x - 1.0, 8.0, -9.0};
      cell.greatest = {x + 1.0, 12.0, -1.0};
      cell.perHalf = {1.0, 0.5, 0.25};
      cell.constant = {1e6 * term(random), 1e6 * term(random), 100.0 * term(random)};
      for (auto& ofX : cell.terms) {
        for (auto& ofY : ofX) {
          for (auto& ofZ : ofY) {
            ofZ = {1000.0 * term(random), 1000.0 * term(random), term(random), 0.0};
          }
        }
      }
    }
  }

  static CellPolynomial const* find(void const* context, geo::XYZPoint const& p) {
    auto const* const cells = static_cast<CellPolynomial const*>(context);
    return cells[0].contains(p) ? cells : cells[1].contains(p) ? cells + 1 : nullptr;
  }

  /// Horner's rule in each of the three variables, as a textbook has it, without the products of more than the third
  /// degree.
  static double value(CellPolynomial const& cell, geo::XYZPoint const& p, std::size_t l, double constant) {
    double const x = (p.x - cell.centre.x) * cell.perHalf.x;
    double const y = (p.y - cell.centre.y) * cell.perHalf.y;
    double const z = (p.z - cell.centre.z) * cell.perHalf.z;
    auto const horner = [](double const* terms, std::size_t count, double t) {
      double sum = terms[count - 1];
      for (std::size_t n = count - 1; n > 0; --n) {
        sum = sum * t + terms[n - 1];
      }
      return sum;
    };
    double ofX[3];
    for (std::size_t i = 0; i < 3; ++i) {
      double ofY[3];
      for (std::size_t j = 0; j < 3 && i + j < 4; ++j) {
        auto const& t = cell.terms[i][j];
        double const ofZ[3] = {t[0][l], t[1][l], t[2][l]};
        ofY[j] = horner(ofZ, std::min<std::size_t>(3, 4 - i - j), z);
      }
      ofX[i] = horner(ofY, std::min<std::size_t>(3, 4 - i), y);
    }
    return constant + horner(ofX, 3, x);
  }

  /// Runs of neighbours within a cell, with others among them: of the other cell, at borders, and of no cell.
  static std::vector<geo::XYZPoint> positions(std::size_t count) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> part(0.0, 1.0);
    std::vector<geo::XYZPoint> made;
    for (std::size_t i = 0; i < count; ++i) {
      double const first = i / 60 % 2 == 0 ? 0.0 : 2.0;
      made.emplace_back(first + 2.0 * part(random), 8.0 + 4.0 * part(random), -9.0 + 8.0 * part(random));
      if (i % 47 == 0) {
        made.back().x = i % 2 == 0 ? 2.0 : std::nextafter(2.0, 0.0);
      } else if (i % 53 == 0) {
        made.back().y = i % 2 == 0 ? 12.0 : std::nextafter(8.0, 0.0);
      } else if (i % 59 == 0) {
        made.back().z = i % 2 == 0 ? -1.0 : std::numeric_limits<double>::quiet_NaN();
      }
    }
    return made;
  }

  CellPolynomial mCells[2];
};

TEST_P(CellKernels, ConvertToTheBitOfHornersRule) {
  for (std::size_t const count : {1U, 3U, 15U, 16U, 17U, 40U, 500U}) {
    auto const in = positions(count);
    std::vector<geo::XYZPoint> out = in;  // in place
    std::vector<std::uint32_t> rest(count);
    std::size_t const left = kes::detail::convertInCells({out.data(), count, out.data(), rest.data(), &find, mCells});
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
      CellPolynomial const* const cell = find(mCells, in[i]);
      if (cell == nullptr) {
        ASSERT_LT(next, left);
        ASSERT_EQ(rest[next++], i);
        ASSERT_THAT(out[i].x, test::SameBits(in[i].x));
        continue;
      }
      ASSERT_THAT(out[i].x, test::SameBits(value(*cell, in[i], 0, cell->constant.x))) << i;
      ASSERT_THAT(out[i].y, test::SameBits(value(*cell, in[i], 1, cell->constant.y))) << i;
      ASSERT_THAT(out[i].z, test::SameBits(value(*cell, in[i], 2, cell->constant.z))) << i;
    }
    EXPECT_EQ(next, left);
  }
}

INSTANTIATE_TEST_SUITE_P(Sets, CellKernels, testing::ValuesIn(test::instructionSets()),
                         [](auto const& with) { return std::string(with.param.name); });

}  // namespace
