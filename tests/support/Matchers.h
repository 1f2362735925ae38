// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace test {

/// The message of the exception that `action` throws; a test failure when it throws none of that type.
template <class Exception = std::runtime_error, class Action>
std::string messageOf(Action&& action) {
  try {
    action();
  } catch (Exception const& error) {
    return error.what();
  }
  ADD_FAILURE() << "no exception of the expected type";
  return {};
}

inline std::uint32_t bitsOf(float value) {
  return std::bit_cast<std::uint32_t>(value);
}

inline std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

/// Numbers on the axis of all floats, so that neighbours differ by 1 and both zeros are one number.
inline std::int64_t ordinal(float value) {
  auto const bits = static_cast<std::int64_t>(bitsOf(value) & 0x7fffffffU);
  return std::bit_cast<std::int32_t>(value) < 0 ? -bits : bits;
}

/// Equal to the last bit, the sign of zero included.
MATCHER_P(SameBits, expected, "has the bits of " + testing::PrintToString(expected)) {
  return bitsOf(arg) == bitsOf(expected);
}

/// A float at most `units` units in the last place away.
MATCHER_P2(WithinUlps, expected, units,
           "is within some units in the last place of " + testing::PrintToString(expected)) {
  auto const distance = ordinal(arg) - ordinal(expected);
  *result_listener << distance << " units in the last place away";
  return distance <= units && distance >= -units;
}

}  // namespace test

/// `statement` throws a std::runtime_error with exactly the message `text`.
#define EXPECT_MESSAGE(statement, text) EXPECT_EQ(test::messageOf([&] { statement; }), text)
