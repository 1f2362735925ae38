// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/GaussMarkovPrior.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace kesadjust {

namespace {

constexpr double degree = 3.14159265358979323846 / 180.0;

/// The lower triangle of a symmetric band matrix with three diagonals beside the main one.
class Band {
public:
  explicit Band(int size) : mValues(static_cast<std::size_t>(size)) {}

  /// Adds factor times the product of two sparse rows with `weights` from columns `a` and `b` on, made symmetric.
  void addProduct(int a, int b, std::span<double const> weights, double factor) {
    for (std::size_t i = 0; i < weights.size(); ++i) {
      for (std::size_t j = 0; j < weights.size(); ++j) {
        int const row = a + static_cast<int>(i);
        int const column = b + static_cast<int>(j);
        double const value = factor * weights[i] * weights[j];
        if (a == b ? row >= column : row > column) {
          at(row, column) += value;
        } else if (a != b && row < column) {
          at(column, row) += value;
        } else if (a != b) {
          at(row, row) += 2.0 * value;
        }
      }
    }
  }

  void appendTo(std::vector<PrecisionEntry>& entries, int first, int halfWidth) const {
    int const size = static_cast<int>(mValues.size());
    for (int row = 0; row < size; ++row) {
      for (int column = std::max(0, row - halfWidth); column <= row; ++column) {
        entries.push_back({first + row, first + column,
                           mValues[static_cast<std::size_t>(row)][static_cast<std::size_t>(row - column)]});
      }
    }
  }

private:
  double& at(int row, int column) {
    return mValues[static_cast<std::size_t>(row)][static_cast<std::size_t>(row - column)];
  }

  std::vector<std::array<double, 4>> mValues;  ///< [row][row - column]
};

}  // namespace

std::vector<PrecisionEntry> GaussMarkovPrior::precision(Spline const& spline) const {
  if (!(sigma > 0.0) || !(correlationTime > 0.0)) {
    throw std::invalid_argument("A Gauss-Markov process needs a positive standard deviation and correlation time");
  }
  bool const isLinear = spline.degree() == Spline::Degree::linear;
  constexpr std::array nodeOfLinear{1.0};
  constexpr std::array nodeOfCubic{1.0 / 6.0, 4.0 / 6.0, 1.0 / 6.0};
  constexpr std::array secondDifference{1.0, -2.0, 1.0};
  std::span<double const> const value = isLinear ? std::span<double const>(nodeOfLinear) : nodeOfCubic;

  std::vector<PrecisionEntry> entries;
  for (Spline::Piece const& piece : spline.pieces()) {
    double const rho = std::exp(-piece.interval / correlationTime);
    double const scale = 1.0 / (-std::expm1(-2.0 * piece.interval / correlationTime) * sigma * sigma);
    Band band(piece.coefficients);
    for (int node = 0; node <= piece.intervals; ++node) {
      bool const isEnd = node == 0 || node == piece.intervals;
      band.addProduct(node, node, value, (isEnd ? 1.0 : 1.0 + rho * rho) * scale);
      if (node > 0) {
        band.addProduct(node, node - 1, value, -rho * scale);
      }
    }
    if (!isLinear) {
      // 6 - 8 rho + 2 rho^2 without cancellation
      double const variance = 2.0 * (3.0 - rho) * -std::expm1(-piece.interval / correlationTime) * sigma * sigma;
      band.addProduct(0, 0, secondDifference, 1.0 / variance);
      band.addProduct(piece.intervals, piece.intervals, secondDifference, 1.0 / variance);
    }
    band.appendTo(entries, piece.first, isLinear ? 1 : 3);
  }
  return entries;
}

std::span<NavigationClass const> navigationClasses() {
  static std::array<NavigationClass, 4> const classes{{
      {"navigation", {0.05, 300.0}, {0.08, 300.0}, {0.0025 * degree, 300.0}, {0.005 * degree, 600.0}},
      {"tactical", {0.05, 300.0}, {0.08, 300.0}, {0.005 * degree, 180.0}, {0.015 * degree, 400.0}},
      {"mems", {0.08, 200.0}, {0.12, 200.0}, {0.02 * degree, 90.0}, {0.08 * degree, 200.0}},
      {"standalone", {1.5, 600.0}, {3.0, 600.0}, {0.01 * degree, 180.0}, {0.03 * degree, 400.0}},
  }};
  return classes;
}

NavigationClass const& navigationClass(std::string const& name) {
  std::string known;
  for (NavigationClass const& one : navigationClasses()) {
    if (one.name == name) {
      return one;
    }
    known += (known.empty() ? "" : ", ") + one.name;
  }
  throw std::invalid_argument("Unknown class of navigation systems: " + name + " (known: " + known + ")");
}

}  // namespace kesadjust
