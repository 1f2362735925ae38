#pragma once

#include <cstddef>
#include <functional>

namespace kes::detail {

/// Points that are worked on together.
inline constexpr std::size_t pointsPerPart = 2048;

/// Calls `work(begin, end)` for parts of `count` points, in this thread and `threads` - 1 others; those that can't be started are
/// done without. Rethrows the first exception when all have ended.
void forEachPart(std::size_t count, int threads, std::function<void(std::size_t begin, std::size_t end)> const& work);

}  // namespace kes::detail
