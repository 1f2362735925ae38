// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CellPolynomial.h"

#include <geo/XYZPoint.h>

#include <cstddef>
#include <cstdint>

namespace kes::detail {

/// Positions to convert by the polynomials of their cells, which `find` looks up.
struct CellRun {
  geo::XYZPoint const* in;
  std::size_t count;
  geo::XYZPoint* out;   ///< May be `in`.
  std::uint32_t* rest;  ///< Room for `count` indices.
  /// The polynomial of a position's cell, or null where there is none. It stays until the next call.
  CellPolynomial const* (*find)(void const* context, geo::XYZPoint const& position);
  void const* context;
};

/// Converts positions in the lanes of the processor's widest vectors: together as far as neighbours share a cell, the
/// others one after the other. Returns how many have no cell, whose indices `rest` lists in ascending order, with
/// `out` left alone. A result depends on the position and its cell alone, to the bit, on every processor.
std::size_t convertInCells(CellRun const& run);

}  // namespace kes::detail
