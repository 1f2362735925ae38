// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <util/VectorOpLevel.h>

namespace util {

float vectorOpLevel() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx2")) {
    return 5.2F;
  }
  if (__builtin_cpu_supports("avx")) {
    return 5.0F;
  }
  if (__builtin_cpu_supports("sse4.2")) {
    return 4.2F;
  }
  if (__builtin_cpu_supports("sse4.1")) {
    return 4.1F;
  }
#endif
  return 0.0F;
}

}  // namespace util
