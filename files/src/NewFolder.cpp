// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/NewFolder.h"

#include "Target.h"
#include "Temporary.h"

#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace files {

namespace {

constexpr mode_t anyNewFolder = 0777;  // the umask applies
constexpr mode_t permissions = 07777;

int syncEntry(fs::directory_entry const& entry) {
  if (entry.is_symlink() || !(entry.is_regular_file() || entry.is_directory())) {
    return 0;
  }
  Handle file = openExisting(entry.path().string());
  if (!file.isOpen()) {
    return errno;
  }
  int const error = file.sync();
  return error != 0 ? error : file.close();
}

// All that is in a folder, and the folder: 0, or the error number.
int syncTree(std::string const& folder) {
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (int const failure = syncEntry(*entry); failure != 0) {
      return failure;
    }
  }
  return error ? error.value() : syncFolder(folder);
}

}  // namespace

void makeFolders(std::string const& path, std::error_code& error) {
  std::vector<fs::path> changed;
  for (fs::path place = fs::absolute(path, error); !error && !fs::exists(place, error);) {
    place = place.parent_path();
    changed.push_back(place);
  }
  fs::create_directories(path, error);
  for (fs::path const& folder : changed) {
    if (int const failure = error ? 0 : syncFolder(folder.string()); failure != 0) {
      error.assign(failure, std::generic_category());
    }
  }
}

struct NewFolder::Body {
  Target target;
  Temporary folder;

  bool isMountPoint() const {
    struct stat around {};
    return stat(target.folder().c_str(), &around) == 0 && around.st_dev != target.old().st_dev;
  }
};

NewFolder::NewFolder(std::string name) : mName(std::move(name)), mBody(std::make_unique<Body>()) {
  while (mName.size() > 1 && mName.back() == '/') {
    mName.pop_back();
  }
  require(mBody->target.resolve(mName));
  makeParents();
  require(mBody->target.look());
  if (mBody->target.exists()) {
    requireEmpty();
  }
  mBody->target.sweep();
  require(mBody->folder.create(mBody->target, Temporary::folderMaker(anyNewFolder)));
}

NewFolder::~NewFolder() = default;

std::string const& NewFolder::path() const {
  return mBody->folder.path();
}

void NewFolder::keep() {
  Target const& target = mBody->target;
  if (target.exists() && fchmod(mBody->folder.handle().number(), target.old().st_mode & permissions) != 0) {
    require(errno);
  }
  require(syncTree(path()));
  require(mBody->folder.rename(target.path()));
  require(syncFolder(target.folder()));
}

void NewFolder::makeParents() const {
  std::error_code error;
  makeFolders(mBody->target.folder(), error);
  require(error.value());
}

void NewFolder::requireEmpty() const {
  std::error_code error;
  std::string const path = mBody->target.path();
  if (!fs::is_directory(path, error) || !fs::is_empty(path, error)) {
    throw std::runtime_error(mName + " exists and is not an empty folder");
  }
  // No folder can take its place.
  if (mBody->isMountPoint()) {
    fail("a file system is mounted on it");
  }
}

void NewFolder::require(int error) const {
  if (error != 0) {
    fail(reasonOf(error));
  }
}

void NewFolder::fail(std::string const& reason) const {
  throw std::runtime_error("can't make folder " + mName + ": " + reason);
}

}  // namespace files
