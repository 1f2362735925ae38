// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/WorkFolder.h"

#include "Target.h"
#include "Temporary.h"

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <utility>

namespace files {

namespace {

constexpr mode_t thisUser = 0700;
constexpr mode_t permissions = 0777;

// 0, or the error number.
int finish(std::string const& path, Target const& target) {
  Handle file = openExisting(path);
  if (!file.isOpen() || (target.exists() && fchmod(file.number(), target.old().st_mode & permissions) != 0)) {
    return errno;
  }
  int const error = file.sync();
  return error != 0 ? error : file.close();
}

}  // namespace

struct WorkFolder::Body {
  Target target;
  Temporary folder;
};

WorkFolder::WorkFolder(std::string fileName) : mFileName(std::move(fileName)), mBody(std::make_unique<Body>()) {
  if (int const error = mBody->target.resolve(mFileName); error != 0) {
    fail(reasonOf(error));
  }
  requireFile();
  mBody->target.sweep();
  if (int const error = mBody->folder.create(mBody->target, Temporary::folderMaker(thisUser)); error != 0) {
    fail(reasonOf(error));
  }
}

WorkFolder::~WorkFolder() = default;

std::string WorkFolder::operator/(std::string const& name) const {
  return mBody->folder.path() + "/" + name;
}

void WorkFolder::moveOut(std::string const& name) const {
  requireFile();
  std::string const file = *this / name;
  if (int const error = finish(file, mBody->target); error != 0) {
    fail(reasonOf(error));
  }
  if (std::rename(file.c_str(), mBody->target.path().c_str()) != 0) {
    fail(reasonOf(errno));
  }
  if (int const error = syncFolder(mBody->target.folder()); error != 0) {
    fail(reasonOf(error));
  }
}

void WorkFolder::requireFile() const {
  switch (int const error = mBody->target.lookForFile(); error) {
  case 0:
    return;
  case EISDIR:
    fail("it is a folder");
  case EINVAL:
    fail("it is no regular file");
  default:
    fail(reasonOf(error));
  }
}

void WorkFolder::fail(std::string const& reason) const {
  throw std::runtime_error("can't write " + mFileName + ": " + reason);
}

}  // namespace files
