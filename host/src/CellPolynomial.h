// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <array>
#include <cstddef>

namespace kes::detail {

/// The three coordinates of a converted position within a cell of another system, each as a sum of products of powers
/// up to the second of x, y and z, which go from -1 to 1 in the cell. Products of more than the third degree are left
/// out.
struct CellPolynomial {
  static constexpr std::size_t powers = 3;
  static constexpr std::size_t degree = 3;  ///< Of a product.
  /// A coordinate each; the fourth makes them fill vector registers.
  using Terms = std::array<double, 4>;

  // By the powers of x, y and z. All but the constant, which is added last, so that its size costs no digit.
  alignas(sizeof(Terms)) std::array<std::array<std::array<Terms, powers>, powers>, powers> terms;
  geo::XYZPoint constant;
  // Positions are in the cell from the least coordinates on, below the greatest.
  geo::XYZPoint least;
  geo::XYZPoint greatest;
  geo::XYZPoint centre;
  geo::XYZPoint perHalf;  // per half an edge

  bool contains(geo::XYZPoint const& p) const {
    return p.x >= least.x && p.x < greatest.x && p.y >= least.y && p.y < greatest.y && p.z >= least.z &&
           p.z < greatest.z;
  }
};

}  // namespace kes::detail
