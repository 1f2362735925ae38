// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>

namespace kes::detail {

/// Points that are worked on together.
inline constexpr std::size_t pointsPerPart = 2048;

/// Calls `work(begin, end)` for parts of `count` points, in this thread and `threads` - 1 others; those that can't be started are
/// done without. Rethrows the first exception when all have ended.
void forEachPartInThreads(std::size_t count, std::size_t threads,
                          std::function<void(std::size_t begin, std::size_t end)> const& work);

/// The same; one thread needs no crew.
template <class Work>
void forEachPart(std::size_t count, int threads, Work const& work) {
  if (threads > 1 && count > pointsPerPart) {
    forEachPartInThreads(count, static_cast<std::size_t>(threads), work);
    return;
  }
  if (count > 0) {
    work(std::size_t{0}, count);
  }
}

}  // namespace kes::detail
