// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdlib>

// Switches of the mutation check: what stands for a token of a source acts as that token, or as its change in a process
// whose environment has the switch's number. The macros are used with the operators and their changes.

namespace mutation {

inline bool isActive(int number) {
  static int const active = std::getenv("KES_MUTANT") == nullptr ? 0 : std::atoi(std::getenv("KES_MUTANT"));
  return active == number;
}

template <int N, class T, class U>
T pick(T original, U changed) {
  return isActive(N) ? static_cast<T>(changed) : original;
}

}  // namespace mutation

// Between the operands stands an object, as in `a + plus<7> + b`, so that precedence and grouping stay: first it meets
// the left operand, then both meet the right one.
#define MUTATION_OPERATOR(NAME, OLD, NEW)                                                                              \
  template <int N>                                                                                                     \
  struct Switch_##NAME {};                                                                                             \
  template <int N>                                                                                                     \
  inline constexpr Switch_##NAME<N> NAME{};                                                                            \
  template <class L, int N>                                                                                            \
  struct Left_##NAME {                                                                                                 \
    L&& operand;                                                                                                       \
  };                                                                                                                   \
  template <class L, int N>                                                                                            \
  Left_##NAME<L, N> operator OLD(L&& left, Switch_##NAME<N>) {                                                         \
    return {static_cast<L&&>(left)};                                                                                   \
  }                                                                                                                    \
  template <class L, class R, int N>                                                                                   \
  auto operator OLD(Left_##NAME<L, N> left, R&& right)                                                                 \
      ->decltype(static_cast<L&&>(left.operand) OLD static_cast<R&&>(right)) {                                         \
    using Result = decltype(static_cast<L&&>(left.operand) OLD static_cast<R&&>(right));                               \
    if (isActive(N)) {                                                                                                 \
      return static_cast<Result>(static_cast<L&&>(left.operand) NEW static_cast<R&&>(right));                          \
    }                                                                                                                  \
    return static_cast<L&&>(left.operand) OLD static_cast<R&&>(right);                                                 \
  }

// Assignments group from the right: the object meets the right operand first.
#define MUTATION_ASSIGNMENT(NAME, OLD, NEW)                                                                            \
  template <int N>                                                                                                     \
  struct Switch_##NAME {};                                                                                             \
  template <int N>                                                                                                     \
  inline constexpr Switch_##NAME<N> NAME{};                                                                            \
  template <class R, int N>                                                                                            \
  struct Right_##NAME {                                                                                                \
    R&& operand;                                                                                                       \
  };                                                                                                                   \
  template <class R, int N>                                                                                            \
  Right_##NAME<R, N> operator OLD(Switch_##NAME<N>, R&& right) {                                                       \
    return {static_cast<R&&>(right)};                                                                                  \
  }                                                                                                                    \
  template <class L, class R, int N>                                                                                   \
  L& operator OLD(L& left, Right_##NAME<R, N> right) {                                                                 \
    if (isActive(N)) {                                                                                                 \
      left NEW static_cast<R&&>(right.operand);                                                                        \
    } else {                                                                                                           \
      left OLD static_cast<R&&>(right.operand);                                                                        \
    }                                                                                                                  \
    return left;                                                                                                       \
  }
