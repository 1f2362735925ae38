// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PlannedFolder.h"

#include "FaultPlan.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace faults {

namespace {

char const* plannedFolder() {
  static char const* const folder = variable(folderVariable);
  return folder;
}

bool isBelowFolder(char const* path) {
  std::size_t const length = std::strlen(plannedFolder());
  return std::strncmp(path, plannedFolder(), length) == 0 && (path[length] == '/' || path[length] == '\0');
}

}  // namespace

char const* variable(char const* name) {
  char const* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isBelowFolder(int file) {
  char link[64];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  char place[PATH_MAX] = "";
  ssize_t const size = readlink(link, place, sizeof place - 1);
  place[size < 0 ? 0 : size] = '\0';
  return isBelowFolder(place);
}

bool isPlanned(int folder, char const* path) {
  if (path[0] == '/') {
    return isBelowFolder(path);
  }
  char current[PATH_MAX] = "";
  return folder == AT_FDCWD ? getcwd(current, sizeof current) != nullptr && isBelowFolder(current)
                            : isBelowFolder(folder);
}

}  // namespace faults
