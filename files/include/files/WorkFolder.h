// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/kesfiles_export.h"

#include <memory>
#include <string>

namespace files {

/// A folder beside a file that is to be written by a library which wants a path, for all that is made on the way to it.
/// It is removed at the end, with what is in it.
///
/// Links, refused targets, the name, the lock and the sweep are as with `FileReplacement`; only this user may look into
/// the folder.
///
/// Threads: an object belongs to one thread at a time, but any thread may write the files in the folder and call `/`.
class KESFILES_EXPORT WorkFolder {
public:
  /// Throws std::runtime_error "can't write <file>: " and the reason, also when the file is a folder.
  explicit WorkFolder(std::string fileName);
  ~WorkFolder();
  WorkFolder(WorkFolder const&) = delete;
  WorkFolder& operator=(WorkFolder const&) = delete;

  /// The path of a file in the folder.
  std::string operator/(std::string const& name) const;

  /// Gives a finished and closed file of the folder its place, when all its bytes are on the disk, with the permissions
  /// of an older file. Throws as the constructor; the older file is then as it was, unless the last step failed, the
  /// sync of the folder around.
  void moveOut(std::string const& name) const;

  /// Throws std::runtime_error "can't write <file>: " and the reason.
  [[noreturn]] void fail(std::string const& reason) const;

private:
  struct Body;

  void requireFile() const;

  std::string mFileName;
  std::unique_ptr<Body> mBody;
};

}  // namespace files
