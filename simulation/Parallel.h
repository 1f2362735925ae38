// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>

namespace simulation {

/// Calls `work` once with each number from 0 to `count` - 1, in any order, from `threads` threads (0: as many as the machine runs
/// at a time). When a call throws, no more are begun, and the first exception comes out.
void forEachIndex(int count, int threads, std::function<void(int)> const& work);

}  // namespace simulation
