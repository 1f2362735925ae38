// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/FailingReads.h"

#include <cerrno>
#include <dlfcn.h>
#include <unistd.h>

namespace {

constexpr int never = -1;

// Calls that may still succeed.
thread_local int left = never;
thread_local bool failed = false;

}  // namespace

// Visible to the libraries, whose calls come here.
#pragma GCC visibility push(default)
extern "C" ssize_t read(int file, void* bytes, size_t count) {
  if (left == 0) {
    failed = true;
    errno = EIO;
    return -1;
  }
  left -= left > 0 ? 1 : 0;
  static auto const next = reinterpret_cast<ssize_t (*)(int, void*, size_t)>(dlsym(RTLD_NEXT, "read"));
  return next(file, bytes, count);
}
#pragma GCC visibility pop

namespace test {

FailingReads::FailingReads(int good) {
  left = good;
  failed = false;
}

FailingReads::~FailingReads() {
  left = never;
}

bool FailingReads::haveFailed() const {
  return failed;
}

}  // namespace test
