// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Handle.h"
#include "Target.h"

#include <functional>
#include <string>

namespace files {

/// A file or folder with a temporary name beside its target, locked as long as this object lives. It is in the
/// process's list of temporaries until it is removed, at the latest at the end, or bears its final name. Operations
/// return 0, or the error number.
class Temporary {
public:
  /// Makes an entry that must not be there yet, under a name of the list, and opens it. A handle that isn't open leaves
  /// the reason in `errno`; EEXIST asks for another name.
  using Make = std::function<Handle(std::string const& path)>;

  /// A `Make` of folders.
  static Make folderMaker(mode_t mode);

  Temporary() = default;
  ~Temporary() { remove(); }
  Temporary(Temporary const&) = delete;
  Temporary& operator=(Temporary const&) = delete;

  /// ECANCELED after `removeTemporaries`.
  int create(Target const& target, Make const& make);
  std::string const& path() const { return mPath; }
  Handle const& handle() const { return mHandle; }

  /// Gives the entry its final name, in the place of what may be there.
  int rename(std::string const& path);
  void remove();

private:
  void forget();

  std::string mPath;
  Handle mHandle;
};

}  // namespace files
