// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace test {

/// How often this process has asked for memory with `new`. The operators that count stand in a source of their own: a
/// compiler that could see into them would rightly wonder at the pairs of `new` and `free`.
long allocationCount();

/// How many pieces of memory the process has from `new` and hasn't given back.
long liveAllocationCount();

}  // namespace test
