// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Part of the library to preload: every clock shows the same time, so that files don't depend on when they are written.

#include "FaultPlan.h"
#include "Hook.h"

#include <ctime>
#include <sys/time.h>

namespace {

bool isWallClock(clockid_t clock) {
  return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
}

}  // namespace

KES_HOOK int clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (isWallClock(clock)) {
    *time = {faults::presentTime, 0};
    return 0;
  }
  return faults::next<int(clockid_t, timespec*)>("clock_gettime")(clock, time);
}

KES_HOOK int gettimeofday(timeval* time, void*) noexcept {
  *time = {faults::presentTime, 0};
  return 0;
}

KES_HOOK time_t time(time_t* result) noexcept {
  if (result != nullptr) {
    *result = faults::presentTime;
  }
  return faults::presentTime;
}
