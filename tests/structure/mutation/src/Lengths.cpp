// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Lengths.h"

#include <array>
#include <cmath>

// Nothing in here changes: 1 + 2 < 3.
static_assert(sizeof(int) > 2, "true && false");

int pixels(double length, double size) {
  if (length < 0.0 || size <= 0.0) {
    return -1;
  }
  return static_cast<int>(std::floor(length / size + 0.5));
}

int steps(double length, double step) {
  std::array<int, 1> count{};
  while (length > 0.0) {
    length -= step;
    ++count.back();
  }
  return count.back();
}

std::string joined(std::string const& a, std::string const& b) {
  return a + b;
}
