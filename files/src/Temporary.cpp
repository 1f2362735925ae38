// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Temporary.h"

#include "TemporaryName.h"
#include "files/Temporaries.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace files {

namespace {

constexpr int mostAttempts = 100;

// All temporary entries of this process. Never destroyed: other threads may still write while the process ends.
struct Registry {
  std::mutex mutex;
  std::set<std::string> paths;
  bool isClosed = false;
};

Registry& registry() {
  static auto* const all = new Registry;
  return *all;
}

// The entry and its place in the list appear together, so that a removal sees every one.
Handle makeListed(std::string const& path, Temporary::Make const& make) {
  std::lock_guard<std::mutex> const guard(registry().mutex);
  if (registry().isClosed) {
    errno = ECANCELED;
    return {};
  }
  registry().paths.insert(path);
  Handle made = make(path);
  if (!made.isOpen()) {
    int const error = errno;
    registry().paths.erase(path);
    errno = error;
  }
  return made;
}

// Another thread may be filling a folder meanwhile. A file goes also when the process may open no further one, which
// remove_all needs.
void removeAll(std::string const& path) {
  std::error_code error;
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    fs::file_status const status = fs::symlink_status(path, error);
    if (!fs::exists(status)) {
      return;
    }
    if (fs::is_directory(status)) {
      fs::remove_all(path, error);
    } else {
      fs::remove(path, error);
    }
  }
}

}  // namespace

// What can't be opened and locked doesn't stay.
Temporary::Make Temporary::folderMaker(mode_t mode) {
  return [mode](std::string const& path) {
    if (mkdir(path.c_str(), mode) != 0) {
      return Handle();
    }
    Handle folder = openExisting(path, O_DIRECTORY);
    if (int const error = errno; !folder.isOpen()) {
      rmdir(path.c_str());
      errno = error == ENOENT ? EEXIST : error;  // a sweep was faster
    }
    return folder;
  };
}

// A sweep of another process may come upon the new entry before it is locked: that one is given up.
int Temporary::create(Target const& target, Make const& make) {
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    std::string const name = temporaryName(target.name());
    if (name.empty()) {
      return errno;
    }
    Handle made = makeListed(target.beside(name), make);
    if (!made.isOpen() && errno != EEXIST) {
      return errno;
    }
    if (made.isOpen()) {
      mPath = target.beside(name);
      mHandle = std::move(made);
      if (mHandle.lock() != EWOULDBLOCK && mHandle.isAt(mPath)) {
        return 0;
      }
      remove();
    }
  }
  return EEXIST;
}

int Temporary::rename(std::string const& path) {
  if (std::rename(mPath.c_str(), path.c_str()) != 0) {
    return errno;
  }
  forget();
  return 0;
}

void Temporary::remove() {
  if (!mPath.empty()) {
    removeAll(mPath);
    forget();
  }
}

void Temporary::forget() {
  std::lock_guard<std::mutex> const guard(registry().mutex);
  registry().paths.erase(mPath);
  mPath.clear();
  mHandle.close();
}

void removeTemporaries() {
  std::lock_guard<std::mutex> const guard(registry().mutex);
  registry().isClosed = true;
  for (std::string const& path : registry().paths) {
    removeAll(path);
  }
}

}  // namespace files
