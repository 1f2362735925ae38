// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Target.h"

#include "Handle.h"
#include "TemporaryName.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace files {

namespace {

// As many as the system follows.
constexpr int mostLinks = 40;

bool isOurs(struct stat const& entry) {
  return entry.st_uid == geteuid() && (S_ISREG(entry.st_mode) || S_ISDIR(entry.st_mode));
}

// The lock is held while the entry is removed, so that of two sweeps only one does it.
void removeUnlessLocked(std::string const& path) {
  struct stat entry {};
  if (lstat(path.c_str(), &entry) != 0 || !isOurs(entry)) {
    return;
  }
  Handle const handle = openExisting(path, O_NONBLOCK);
  if (handle.isOpen() && handle.lock() == 0 && handle.isAt(path)) {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
}

}  // namespace

int Target::resolve(std::string const& path) {
  std::error_code error;
  fs::path place = fs::absolute(path, error);
  for (int links = 0; !error && fs::is_symlink(fs::symlink_status(place, error)); ++links) {
    if (links == mostLinks) {
      return ELOOP;
    }
    place = place.parent_path() / fs::read_symlink(place, error);
  }
  mFolder = place.parent_path().string();
  mName = place.filename().string();
  // That nothing is there is no error; what else it is shows when the place is looked at.
  return path.empty() || mName.empty() ? ENOENT : 0;
}

std::string Target::beside(std::string const& name) const {
  return (fs::path(mFolder) / name).string();
}

int Target::look() {
  mExists = lstat(path().c_str(), &mOld) == 0;
  return mExists || errno == ENOENT ? 0 : errno;
}

int Target::lookForFile() {
  if (int const error = look(); error != 0 || !mExists) {
    return error;
  }
  if (!S_ISREG(mOld.st_mode)) {
    return S_ISDIR(mOld.st_mode) ? EISDIR : EINVAL;
  }
  return faccessat(AT_FDCWD, path().c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

void Target::sweep() const {
  std::error_code error;
  for (fs::directory_iterator entry(mFolder, error), end; !error && entry != end; entry.increment(error)) {
    if (isTemporaryName(entry->path().filename().string(), mName)) {
      removeUnlessLocked(entry->path().string());
    }
  }
}

}  // namespace files
