// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <util/VectorOpLevel.h>

#include <algorithm>
#include <array>

namespace util {

namespace {

struct Level {
  bool isOffered;
  float number;
};

}  // namespace

float vectorOpLevel() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  std::array<Level, 4> const levels{{{__builtin_cpu_supports("avx2") != 0, 5.2F},
                                     {__builtin_cpu_supports("avx") != 0, 5.0F},
                                     {__builtin_cpu_supports("sse4.2") != 0, 4.2F},
                                     {__builtin_cpu_supports("sse4.1") != 0, 4.1F}}};
  auto const highest = std::find_if(levels.begin(), levels.end(), [](Level const& level) { return level.isOffered; });
  return highest == levels.end() ? 0.0F : highest->number;
#else
  return 0.0F;
#endif
}

}  // namespace util
