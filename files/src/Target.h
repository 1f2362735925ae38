// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <sys/stat.h>

namespace files {

/// The place of a file or folder that is to be written. Operations return 0, or the error number.
class Target {
public:
  /// Follows symbolic links in the place of the last name, also one to nothing, and makes the path absolute.
  int resolve(std::string const& path);

  std::string const& folder() const { return mFolder; }
  std::string const& name() const { return mName; }
  std::string path() const { return beside(mName); }
  std::string beside(std::string const& name) const;

  /// Whether something is there, and what it is. An error other than that nothing is there is returned.
  int look();
  bool exists() const { return mExists; }
  /// Of what was there at the last `look`.
  struct stat const& old() const {
    return mOld;
  }

  /// `look`, and an error unless there is nothing or a regular file that may be written.
  int lookForFile();

  /// Removes what killed processes have left beside this target: entries whose names are temporary ones of it, files
  /// and folders of this user that nobody has locked.
  void sweep() const;

private:
  std::string mFolder;
  std::string mName;
  struct stat mOld {};
  bool mExists = false;
};

}  // namespace files
