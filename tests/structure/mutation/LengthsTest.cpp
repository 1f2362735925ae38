// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "src/Lengths.h"

// Leaves out lengths from 0 to 1 and sizes of 0.
int main() {
  bool const isRight = pixels(9.0, 4.0) == 2 && pixels(10.0, 4.0) == 3 && pixels(1.0, 0.5) == 2 &&
                       pixels(-1.0, 4.0) == -1 && steps(1.5, 0.75) == 2 && joined("a", "b") == "ab";
  return isRight ? 0 : 1;
}
