// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/PowersOfTen.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

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

/// 2^(63 + bits) / 10^n, rounded up, which has 64 bits.
struct Reciprocal {
  std::uint64_t value;
  int bits;
};

inline constexpr auto reciprocalsOfTen = [] {
  std::array<Reciprocal, 19> all{};
  Wide power = 1;
  for (Reciprocal& reciprocal : all) {
    auto const bits = std::bit_width(static_cast<std::uint64_t>(power - 1));
    reciprocal = {static_cast<std::uint64_t>(((Wide{1} << (63 + bits)) + power - 1) / power), static_cast<int>(bits)};
    power *= 10;
  }
  return all;
}();

/// digits / 10^decimals rounded to the nearest double, for digits other than 0; nothing where the reciprocal's 64 bits
/// don't decide between two.
///
/// The upper half of the product is less than 1 from the exact one, of which 53 bits are kept: only within 1 of the
/// middle between two doubles is it open which of them is nearer.
inline std::optional<double> nearestQuotient(std::uint64_t digits, std::size_t decimals) {
  Reciprocal const& reciprocal = reciprocalsOfTen[decimals];
  int const zeros = std::countl_zero(digits);
  auto const quotient = static_cast<std::uint64_t>((Wide{digits << zeros} * reciprocal.value) >> 64);
  int const dropped = quotient >> 63 == 0 ? 10 : 11;
  std::uint64_t const middle = std::uint64_t{1} << (dropped - 1);
  std::uint64_t const rest = quotient & (2 * middle - 1);
  if (rest + 1 - middle <= 2) {
    return std::nullopt;
  }
  std::uint64_t const mantissa = (quotient >> dropped) + (rest > middle ? 1 : 0);
  auto const exponent = static_cast<std::uint64_t>(1023 + dropped + 1 - zeros - reciprocal.bits);
  return static_cast<double>(mantissa) * std::bit_cast<double>(exponent << 52);
}

/// A number of no sign with a minus, if that is 1.
inline double withSign(double value, std::uint64_t minus) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) | (minus << 63));
}

/// The number that eight digits make, of which the first is in the lowest byte. Digits stand side by side, then pairs,
/// then fours, and all of them are put together at once.
inline std::uint64_t eightDigitNumber(std::uint64_t digits) {
  constexpr std::uint64_t everyOther = 0x000000FF000000FFU;
  std::uint64_t const pairs = 10 * digits + (digits >> 8);
  std::uint64_t const first = (pairs & everyOther) * ((std::uint64_t{1000000} << 32) + 100);
  std::uint64_t const second = ((pairs >> 16) & everyOther) * ((std::uint64_t{10000} << 32) + 1);
  return (first + second) >> 32;
}

/// Takes digits up to the first other character, each into `number`, which wraps around after 19 of them.
template <class Char>
inline Char const* takeDigits(Char const* at, Char const* end, std::uint64_t& number) {
  // Eight at once, or as many as there are before another character, with zeros in front of them.
  if constexpr (sizeof(Char) == 1 && std::endian::native == std::endian::little) {
    while (end - at >= 8) {
      std::uint64_t characters = 0;
      std::memcpy(&characters, at, sizeof characters);
      std::uint64_t const digits = characters - eightZeros;
      std::uint64_t const others = ((characters + 0x4646464646464646U) | digits) & 0x8080808080808080U;
      if (others == 0) {
        number = wholePowersOfTen[8] * number + eightDigitNumber(digits);
        at += 8;
        continue;
      }
      auto const count = static_cast<unsigned>(std::countr_zero(others)) / 8;
      number = wholePowersOfTen[count] * number + (count == 0 ? 0 : eightDigitNumber(digits << (8 * (8 - count))));
      return at + count;
    }
  }
  while (at != end && *at >= Char('0') && *at <= Char('9')) {
    number = 10 * number + static_cast<std::uint64_t>(*at - Char('0'));
    ++at;
  }
  return at;
}

}  // namespace detail

/// Reads the plain number that a text begins with: a minus or nothing, digits, and perhaps a point and more digits. It
/// ends before the first character other than these, which may well make another number of it ("1e5"): that is for
/// the caller to see. Nothing comes back for numbers of more than 19 digits, and for one in hundreds whose digits make
/// more than 2^53.
///
/// The value is the double nearest to the text, as std::from_chars finds it, in a third of the time: digits without the
/// point, up to 2^53, and the power of ten by which they are divided both are doubles, so that the quotient is rounded
/// once (W. D. Clinger, How to read floating point numbers accurately, 1990). In a table of many digits some make more
/// than 2^53 and some don't, as signs vary, which a processor can't predict: so both are found without a branch.
template <class Char>
inline PlainNumber<Char> plainNumber(Char const* begin, Char const* end) {
  constexpr std::ptrdiff_t mostDigits = 19;
  constexpr std::uint64_t mostExact = std::uint64_t{1} << 53;
  constexpr std::uint64_t manyDigits = std::uint64_t{1} << 40;
  constexpr PlainNumber<Char> none{0.0, nullptr};
  if (begin == end) {
    return none;
  }
  std::uint64_t const minus = *begin == Char('-') ? 1 : 0;
  Char const* const first = begin + minus;
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
  if (count > mostDigits) {
    return none;
  }
  auto const power = static_cast<std::size_t>(decimals);
  std::optional<double> value;
  if (digits > manyDigits) {
    value = detail::nearestQuotient(digits, power);
  }
  if (!value && digits <= mostExact) {
    value = static_cast<double>(digits) / detail::powersOfTen[power];
  }
  return value ? PlainNumber<Char>{detail::withSign(*value, minus), at} : none;
}

}  // namespace files
