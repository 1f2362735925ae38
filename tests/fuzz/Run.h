// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cmath>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fuzz {

/// Ends the process with the message: what the fuzzer takes for a finding.
[[noreturn]] void fail(std::string const& message);

inline void require(bool holds, char const* expectation) {
  if (!holds) {
    fail(std::string("expected ") + expectation);
  }
}

/// A refusal is a std::runtime_error, of that very type, with a message; anything else is a finding.
void requireRefusal(std::exception const& error);

/// Does the action; false when the library refuses the file.
template <class Action>
bool accepts(Action&& action) {
  try {
    std::forward<Action>(action)();
    return true;
  } catch (std::exception const& error) {
    requireRefusal(error);
    return false;
  }
}

/// The files of which an input consists, in the order in which a kind expects them. A line "%%" divides them; those
/// that are missing are empty.
std::vector<std::string> parts(std::string_view bytes, std::size_t count);

template <class Value>
bool sameBits(Value const& a, Value const& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

template <class Value>
bool sameBits(std::vector<Value> const& a, std::vector<Value> const& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Value)) == 0);
}

/// Whether a number came back from a text with some decimals. One that isn't finite must stay what it was.
inline bool isNear(double a, double b, double tolerance) {
  return std::isfinite(a) ? std::abs(a - b) <= tolerance : std::isnan(a) ? std::isnan(b) : a == b;
}

}  // namespace fuzz
