// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace test {

/// Limits a resource of this process, such as RLIMIT_NOFILE or RLIMIT_AS, for as long as it lives. What the process has
/// already stays.
class ResourceLimit {
public:
  ResourceLimit(int resource, rlim_t most) : mResource(resource) {
    getrlimit(resource, &mOld);
    rlimit const limit{most, mOld.rlim_max};
    setrlimit(resource, &limit);
  }
  ~ResourceLimit() { setrlimit(mResource, &mOld); }
  ResourceLimit(ResourceLimit const&) = delete;
  ResourceLimit& operator=(ResourceLimit const&) = delete;

private:
  int mResource;
  rlimit mOld{};
};

/// Leaves this process `bytes` more memory than it has.
inline ResourceLimit memoryLimit(rlim_t bytes) {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return {RLIMIT_AS, pages * static_cast<rlim_t>(getpagesize()) + bytes};
}

}  // namespace test
