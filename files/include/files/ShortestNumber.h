// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/PowersOfTen.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace files {

/// Room in which `writeShortest` has enough for any number.
inline constexpr std::ptrdiff_t longestNumber = 40;

namespace detail {

/// The digits of a number below 10^8, the first in the lowest byte: halves of it, then quarters, then digits stand side
/// by side in a word, and all are divided at once. The quotients are exact for the few digits that are left.
inline std::uint64_t eightDigits(std::uint64_t number) {
  std::uint64_t const halves = number / 10000 + ((number % 10000) << 32);
  std::uint64_t const hundreds = ((halves * 10486) >> 20) & 0x0000007F0000007FU;
  std::uint64_t const quarters = hundreds + ((halves - 100 * hundreds) << 16);
  std::uint64_t const tens = ((quarters * 103) >> 10) & 0x000F000F000F000FU;
  return eightZeros + tens + ((quarters - 10 * tens) << 8);
}

inline void storeDigits(char* to, std::uint64_t word) {
  if constexpr (std::endian::native == std::endian::big) {
    word = __builtin_bswap64(word);
  }
  std::memcpy(to, &word, sizeof word);
}

inline char* writeWhole(char* to, std::uint64_t number) {
  if (number >= wholePowersOfTen[8]) {
    return std::to_chars(to, to + longestNumber, number).ptr;
  }
  std::uint64_t const word = eightDigits(number);
  int const zeros = std::min(std::countr_zero(word ^ eightZeros) / 8, 7);
  storeDigits(to, word >> (8 * zeros));
  return to + 8 - zeros;
}

/// Writes fraction / 10^18, which isn't 0, from its first decimal to the last that isn't a zero.
inline char* writeFraction(char* to, std::uint64_t fraction) {
  std::uint64_t const first = fraction / wholePowersOfTen[16];
  std::uint64_t const rest = fraction % wholePowersOfTen[16];
  std::uint64_t const middle = eightDigits(rest / wholePowersOfTen[8]);
  std::uint64_t const last = eightDigits(rest % wholePowersOfTen[8]);
  to[0] = static_cast<char>('0' + first / 10);
  to[1] = static_cast<char>('0' + first % 10);
  storeDigits(to + 2, middle);
  storeDigits(to + 10, last);
  auto const endingZeros = [](std::uint64_t word) { return std::countl_zero(word ^ eightZeros) / 8; };
  if (last != eightZeros) {
    return to + 18 - endingZeros(last);
  }
  return middle != eightZeros ? to + 10 - endingZeros(middle) : to + (first % 10 == 0 ? 1 : 2);
}

/// The shortest decimals that lie nearer to rest / 2^bits than to any neighbour, whose distance is 1 / 2^bits, and of
/// those as short the nearest, or the even one of two; those midway to a neighbour count if `isEven`. Times 10^18.
/// 0 < rest < 2^bits, bits is 1 to 58.
///
/// Of so many decimals that 10^count / 2^bits is in 1 to 10, at least one number lies there, and at most one that ends
/// with a zero. All is exact: a number counts units of the last decimal, a distance parts of them, of which a unit has
/// 2^(bits + 1).
inline std::uint64_t shortestFraction(std::uint64_t rest, int bits, bool isEven) {
  constexpr int log10OfTwo = 1233;  // times 4096
  auto const count = static_cast<std::size_t>(((bits * log10OfTwo) >> 12) + 1);
  std::uint64_t const unit = std::uint64_t{2} << bits;
  Wide const exact = Wide{rest} * (2 * wholePowersOfTen[count]);
  auto const below = static_cast<std::uint64_t>(exact >> (bits + 1));
  std::uint64_t const distance = static_cast<std::uint64_t>(exact) & (unit - 1);
  std::uint64_t const reach = wholePowersOfTen[count] - (isEven ? 0 : 1);
  std::uint64_t const tens = (below + ((distance + reach) >> (bits + 1))) / 10 * 10;
  bool const isWithin = static_cast<std::int64_t>((below - tens) * unit + distance) <= static_cast<std::int64_t>(reach);
  bool const isUp = distance + (below & 1) > unit / 2;
  std::uint64_t const nearest = below + static_cast<std::uint64_t>(isUp);
  // Without a branch: no processor predicts it.
  return (nearest + (tens - nearest) * static_cast<std::uint64_t>(isWithin)) * wholePowersOfTen[18 - count];
}

}  // namespace detail

/// Writes the shortest text that reads back to the same number, of those as short the nearest, and returns its end: the
/// text of std::to_chars, of which numbers with decimals from 1/64 to 2^53 take half of the time. `to` has room for
/// `longestNumber` characters, of which those after the text may change, too.
inline char* writeShortest(char* to, double value) {
  constexpr int mantissaBits = 52;
  constexpr int mostBits = 58;
  constexpr std::uint64_t hidden = std::uint64_t{1} << mantissaBits;
  std::uint64_t image = 0;
  std::memcpy(&image, &value, sizeof image);
  // The value is mantissa / 2^bits.
  int const bits = 1023 + mantissaBits - static_cast<int>((image >> mantissaBits) & 0x7FFU);
  std::uint64_t const mantissa = hidden | (image & (hidden - 1));
  std::uint64_t const rest = bits >= 1 && bits <= mostBits ? mantissa & ((std::uint64_t{1} << bits) - 1) : 0;
  // A power of two, of which one neighbour is nearer than the other, is a whole number or has six decimals at most.
  if (rest == 0) {
    return std::to_chars(to, to + longestNumber, value).ptr;
  }
  *to = '-';
  to += image >> 63;
  to = detail::writeWhole(to, mantissa >> bits);
  *to = '.';
  return detail::writeFraction(to + 1, detail::shortestFraction(rest, bits, mantissa % 2 == 0));
}

}  // namespace files
