// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/kesfiles_export.h"

#include <memory>
#include <string>
#include <system_error>

namespace files {

/// Makes a folder with all those around it that are missing, as std::filesystem::create_directories does, and syncs the
/// names of the new ones: a file that is written there later can't be lost with its folder.
KESFILES_EXPORT void makeFolders(std::string const& path, std::error_code& error);

/// A folder that a run fills and that appears under its name as a whole at the end. Until `keep` it bears another name
/// beside it; whatever ends the run before removes it. The name, the lock and the sweep are as with `FileReplacement`;
/// a symbolic link to an empty folder stays, and the folder is replaced.
///
/// Threads: an object belongs to one thread at a time, but any thread may write files in the folder.
class KESFILES_EXPORT NewFolder {
public:
  /// Makes the folder's parents, too. Throws std::runtime_error "NAME exists and is not an empty folder" when there is
  /// something that would be lost, and "can't make folder NAME: " and the reason.
  explicit NewFolder(std::string name);
  ~NewFolder();
  NewFolder(NewFolder const&) = delete;
  NewFolder& operator=(NewFolder const&) = delete;

  /// Where to write.
  std::string const& path() const;
  /// Gives the folder its name when all that is in it is on the disk. Replaces an empty folder, nothing else. Throws
  /// std::runtime_error "can't make folder NAME: " and the reason. Called once, at the end; the files in it are closed.
  void keep();

private:
  struct Body;

  void makeParents() const;
  void requireEmpty() const;
  void require(int error) const;
  [[noreturn]] void fail(std::string const& reason) const;

  std::string mName;
  std::unique_ptr<Body> mBody;
};

}  // namespace files
