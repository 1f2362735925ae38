// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Handle.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace files {

int Handle::sync() const {
  return uninterrupted([this] { return fsync(mNumber); }) == 0 ? 0 : errno;
}

// The handle is closed whatever the result, also after EINTR, which says nothing of its data.
int Handle::close() {
  return mNumber < 0 || ::close(std::exchange(mNumber, -1)) == 0 || errno == EINTR ? 0 : errno;
}

int Handle::lock() const {
  return uninterrupted([this] { return flock(mNumber, LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
}

bool Handle::isAt(std::string const& path) const {
  struct stat opened {};
  struct stat named {};
  return fstat(mNumber, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

Handle Handle::duplicate() const {
  return Handle(fcntl(mNumber, F_DUPFD_CLOEXEC, 0));
}

Handle openExisting(std::string const& path, int flags) {
  return Handle(uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | flags); }));
}

int syncFolder(std::string const& path) {
  Handle const folder(uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!folder.isOpen()) {
    return errno == EACCES ? 0 : errno;
  }
  int const error = folder.sync();
  return error == EINVAL ? 0 : error;
}

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

}  // namespace files
