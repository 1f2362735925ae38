// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace files {

/// Holds the product of any two numbers of 64 bits.
__extension__ using Wide = unsigned __int128;

/// The powers of ten that 64 bits hold.
inline constexpr auto wholePowersOfTen = [] {
  std::array<std::uint64_t, 20> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) {
    powers[i] = 10 * powers[i - 1];
  }
  return powers;
}();

/// Eight digits as characters, with the first in the lowest byte.
inline constexpr std::uint64_t eightZeros = 0x3030303030303030U;

}  // namespace files
