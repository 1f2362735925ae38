// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dlfcn.h>

// Functions of a preloaded library that stand before those of the C library.

#define KES_HOOK extern "C" __attribute__((visibility("default")))

namespace faults {

/// The function of that name that a hook stands before.
template <class Function>
Function* next(char const* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace faults
